/// diagnosis.h: why a log is missing or empty, or not all of it is shown. The module tells its host little of that, so
/// the machine is looked at.
#ifndef KESTRUNE_STANDIN_DIAGNOSIS_H_
#define KESTRUNE_STANDIN_DIAGNOSIS_H_

#include <cstdint>
#include <string>
#include <vector>

namespace standin {

/// What keeps a log, or a part of it, from being shown: one note each, none where nothing does. Asked once the host has
/// its controller and its distribution.
std::vector<std::string> FindObstacles(uint16_t log);

/// The same in one line, for a log that is missing or empty: never without a reason.
std::string WhyMissing(uint16_t log);

/// Throws Failure where no daemon takes messages for the system log: they would vanish.
void RequireLogDaemon();

}  // namespace standin

#endif  // KESTRUNE_STANDIN_DIAGNOSIS_H_
