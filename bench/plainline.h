/// plainline.h: the plain way from a SEL record to its text line, to measure the module's against: it walks the tables
/// from their first rows and leaves the rest to the C library. The tables and the sensor IDs are the module's.
#ifndef KESTRUNE_BENCH_PLAINLINE_H_
#define KESTRUNE_BENCH_PLAINLINE_H_

#include "platform/nubo.h"

namespace bench {

/// What FormatSELLine writes, for a record whose sensor the host has a name for. InitSELLog must have run.
void FormatPlainLine(const SELRecord& record, char* line);

}  // namespace bench

#endif  // KESTRUNE_BENCH_PLAINLINE_H_
