/// host.h: the host that the measured code runs in. Its exported functions answer at once and from memory, so that what
/// is measured is not theirs.
#ifndef KESTRUNE_BENCH_HOST_H_
#define KESTRUNE_BENCH_HOST_H_

#include <vector>

#include "platform/nubo.h"

namespace bench {

/// What the controller's event log holds from now on, oldest record first; at most 65,534.
void SetEventLog(std::vector<SELRecord> records);

}  // namespace bench

#endif  // KESTRUNE_BENCH_HOST_H_
