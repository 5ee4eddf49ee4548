/// logtime.h: the times of text logs' lines, which have no year, times that are shown, and times as people give them.
#ifndef KESTRUNE_STANDIN_OUTPUT_LOGTIME_H_
#define KESTRUNE_STANDIN_OUTPUT_LOGTIME_H_

#include <cstdint>
#include <optional>
#include <string>

namespace standin {

/// The time of a line with this date ("Aug 18", "Aug  8" or "Aug 08") and time of day, both local, in a file that was
/// last written at `written`: the last time of that name until then. Nothing for what is no date and time.
std::optional<int64_t> InferTime(const std::string& date, const std::string& time, int64_t written);

/// "2026-08-18T12:56:35+02:00": local time with the zone's offset.
std::string FormatLocal(int64_t seconds);

/// The time that `text` names: an ISO 8601 date, or date and time (with a blank for the T if need be, local without a
/// zone), "today", "yesterday", or a span before `now` as "-90s", "-30m", "-2h", "-3d", "-1w". Of a day, its first
/// second or, at the `end` of a range, its last. Nothing for other texts.
std::optional<int64_t> ParseTime(const std::string& text, bool end, int64_t now);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_OUTPUT_LOGTIME_H_
