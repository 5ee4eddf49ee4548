#include "standin/output/logtime.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace standin {
namespace {

/// The time `days` days from that of `calendar`, local, with the second before it for the end of a range.
std::optional<int64_t> ShiftDays(std::tm calendar, int days, bool end) {
  calendar.tm_hour = calendar.tm_min = calendar.tm_sec = 0;
  calendar.tm_mday += days + (end ? 1 : 0);
  calendar.tm_isdst = -1;
  return std::mktime(&calendar) - (end ? 1 : 0);
}

/// Seconds of a zone, "Z" or "+02:00" or "+0200".
std::optional<int64_t> ParseZone(const std::string& text) {
  if (text == "Z") return 0;
  char sign = 0;
  int hours = 0, minutes = 0, length = 0;
  const char* form = text.size() == 6 ? "%c%2d:%2d%n" : "%c%2d%2d%n";
  if (std::sscanf(text.c_str(), form, &sign, &hours, &minutes, &length) != 3) return std::nullopt;
  if (static_cast<size_t>(length) != text.size() || (sign != '+' && sign != '-')) return std::nullopt;
  return (sign == '-' ? -1 : 1) * (hours * 3600 + minutes * 60);
}

std::optional<int64_t> ParseSpan(const std::string& text, int64_t now) {
  constexpr std::string_view UNITS = "smhdw";
  constexpr std::array<int64_t, 5> SECONDS{1, 60, 3600, 86400, 604800};
  int count = 0, length = 0;
  char unit = 0;
  if (std::sscanf(text.c_str(), "-%9d%c%n", &count, &unit, &length) != 2 || count < 0) return std::nullopt;
  const size_t place = UNITS.find(unit);
  if (place == std::string_view::npos || static_cast<size_t>(length) != text.size()) return std::nullopt;
  return now - count * SECONDS.at(place);
}

}  // namespace

std::optional<int64_t> ParseTime(const std::string& text, bool end, int64_t now) {
  const time_t current = now;
  std::tm calendar{};
  if (localtime_r(&current, &calendar) == nullptr) return std::nullopt;
  if (text == "today") return ShiftDays(calendar, 0, end);
  if (text == "yesterday") return ShiftDays(calendar, -1, end);
  if (!text.empty() && text.front() == '-') return ParseSpan(text, now);

  calendar = {};
  const char* rest = strptime(text.c_str(), "%Y-%m-%d", &calendar);
  if (rest == nullptr || rest - text.c_str() != 10) return std::nullopt;
  std::tm normal = calendar;
  timegm(&normal);
  if (normal.tm_mday != calendar.tm_mday) return std::nullopt;  // February 30
  if (*rest == '\0') return ShiftDays(calendar, 0, end);
  if (*rest != 'T' && *rest != ' ') return std::nullopt;
  ++rest;
  const char* zone = strptime(rest, "%H:%M:%S", &calendar);
  const bool isMinute = zone == nullptr;
  if (isMinute) zone = strptime(rest, "%H:%M", &calendar);
  if (zone == nullptr) return std::nullopt;
  if (isMinute) calendar.tm_sec = end ? 59 : 0;
  if (*zone != '\0') {
    const auto offset = ParseZone(zone);
    if (!offset) return std::nullopt;
    return timegm(&calendar) - *offset;
  }
  calendar.tm_isdst = -1;
  return std::mktime(&calendar);
}

std::optional<int64_t> InferTime(const std::string& date, const std::string& time, int64_t written) {
  constexpr std::string_view MONTHS = "JanFebMarAprMayJunJulAugSepOctNovDec";
  constexpr int64_t A_DAY = int64_t{24} * 60 * 60;  // clocks and zones differ
  constexpr int YEARS = 9;                          // in which February 29 comes at least once
  std::array<char, 4> month{};
  std::tm named{};
  if (std::sscanf(date.c_str(), "%3s %d", month.data(), &named.tm_mday) != 2 ||
      std::sscanf(time.c_str(), "%d:%d:%d", &named.tm_hour, &named.tm_min, &named.tm_sec) != 3) {
    return std::nullopt;
  }
  const size_t place = MONTHS.find(month.data());
  if (place == std::string_view::npos || place % 3 != 0 || std::string_view(month.data()).size() != 3) {
    return std::nullopt;
  }
  named.tm_mon = static_cast<int>(place / 3);
  named.tm_isdst = -1;
  const time_t last = written + A_DAY;
  std::tm newest{};
  if (localtime_r(&last, &newest) == nullptr) return std::nullopt;
  for (int year = newest.tm_year; year > newest.tm_year - YEARS; --year) {
    std::tm calendar = named;
    calendar.tm_year = year;
    const time_t seconds = std::mktime(&calendar);
    if (calendar.tm_mday == named.tm_mday && seconds <= last) return seconds;
  }
  return std::nullopt;
}

std::string FormatLocal(int64_t seconds) {
  const time_t time = seconds;
  std::tm calendar{};
  std::array<char, 40> text{};
  if (localtime_r(&time, &calendar) == nullptr) return {};
  std::string formatted(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &calendar));
  return formatted.insert(formatted.size() - 2, ":");
}

}  // namespace standin
