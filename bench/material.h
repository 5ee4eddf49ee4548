/// material.h: what is measured with: logs that look like real ones, the same in every run.
#ifndef KESTRUNE_BENCH_MATERIAL_H_
#define KESTRUNE_BENCH_MATERIAL_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/nubo.h"

namespace bench {

/// Sizes of the logs: lines of the text log, records of the SEL.
using Sizes = std::array<size_t, 3>;
inline constexpr Sizes kLines = {300, 3'000, 30'000};
inline constexpr Sizes kRecords = {1'000, 10'000, 65'000};

/// Sensors of the machine: numbers 1 to kSensorCount. The host's ID of a sensor is its number and kHostSensorBase, and
/// the host has a name for each.
inline constexpr uint8_t kSensorCount = 48;
inline constexpr uint32_t kHostSensorBase = 0x2000;

/// The text of a system log of that many lines, 60 to 160 characters each with the newline.
std::string LogText(size_t lines);

/// An event log of that many records; a shorter one is the beginning of a longer one.
std::vector<SELRecord> EventLog(size_t records);

}  // namespace bench

#endif  // KESTRUNE_BENCH_MATERIAL_H_
