#include "standin/logtime.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace standin {

std::optional<int64_t> InferTime(const std::string& date, const std::string& time, int64_t written) {
  constexpr std::string_view MONTHS = "JanFebMarAprMayJunJulAugSepOctNovDec";
  constexpr int64_t A_DAY = 24 * 60 * 60;  // clocks and zones differ
  constexpr int YEARS = 9;                 // in which February 29 comes at least once
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
    std::tm parts = named;
    parts.tm_year = year;
    const time_t seconds = std::mktime(&parts);
    if (parts.tm_mday == named.tm_mday && seconds <= last) return seconds;
  }
  return std::nullopt;
}

std::string FormatLocal(int64_t seconds) {
  const time_t time = seconds;
  std::tm parts{};
  std::array<char, 40> text{};
  if (localtime_r(&time, &parts) == nullptr) return {};
  std::string formatted(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &parts));
  return formatted.insert(formatted.size() - 2, ":");
}

}  // namespace standin
