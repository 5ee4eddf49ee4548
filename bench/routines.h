/// routines.h: the module's routines, as they stand in its objects, timed by Google Benchmark.
#ifndef KESTRUNE_BENCH_ROUTINES_H_
#define KESTRUNE_BENCH_ROUTINES_H_

#include <array>

#include "platform/nubo.h"

namespace bench {

/// Times over those of the reference.
struct RoutineRatios {
  std::array<double, 3> lines_to_items;  ///< at the sizes kLines, over the floor
  std::array<double, 3> sel_to_items;    ///< at the sizes kRecords, over the floor
  double record_to_line;                 ///< over the plain way
};
RoutineRatios MeasureRoutines();

/// The plain way to do what FormatSELLine does, for a record whose sensor the host has a name for.
void FormatPlainLine(const SELRecord* record, char* line);

}  // namespace bench

#endif  // KESTRUNE_BENCH_ROUTINES_H_
