/// routines.h: the module's routines, called as they are in its own objects and timed by Google Benchmark.
#ifndef KESTRUNE_BENCH_ROUTINES_H_
#define KESTRUNE_BENCH_ROUTINES_H_

#include <array>
#include <cstddef>

namespace bench {

/// Times of the work and of its reference, in one unit.
struct Times {
  double work;
  double reference;

  double Ratio() const { return work / reference; }
};

struct RoutineTimes {
  std::array<Times, 3> lines_to_items;  ///< at the sizes kLines; the reference is the floor
  std::array<Times, 3> sel_to_items;    ///< at the sizes kRecords; the reference is the floor
  Times record_to_line;                 ///< the reference is the plain way
};

/// With `verbose`, Google Benchmark reports on standard error.
RoutineTimes MeasureRoutines(bool verbose);

}  // namespace bench

#endif  // KESTRUNE_BENCH_ROUTINES_H_
