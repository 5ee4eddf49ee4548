#include "sel/selline.h"

#include <array>
#include <chrono>
#include <cstring>
#include <span>
#include <string_view>

#include "platform/boundedtext.h"
#include "translate/description.h"

namespace {

/// What stands before the columns that FormatSELLine writes: the origin and a separator.
constexpr size_t ORIGIN_SIZE = SEL_DATE;

/// Longest part of a sensor's name that is shown.
constexpr size_t SENSOR_COLUMN_MAX = 65;

/// The numbers of a clock and of a month's days, in two places.
constexpr auto TWO_DIGITS = [] {
  std::array<std::array<char, 2>, 60> texts{};
  for (unsigned int i = 0; i < texts.size(); ++i) {
    texts.at(i) = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
  }
  return texts;
}();

/// Writes a time stamp as asctime does, without day of the week and year, but in UTC and in every locale alike. Returns
/// its length, for which there must be room.
size_t WriteTime(uint32_t stamp, std::span<char> text) {
  static constexpr std::string_view MONTHS = "JanFebMarAprMayJunJulAugSepOctNovDec";
  static constexpr std::string_view FORM = "Mmm dd hh:mm:ss";
  constexpr uint32_t SECONDS_A_DAY = 24 * 60 * 60;
  const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(stamp / SECONDS_A_DAY))};
  const uint32_t secondOfDay = stamp % SECONDS_A_DAY;
  const auto put = [text](size_t column, size_t number) {
    memcpy(text.data() + column, TWO_DIGITS[number].data(), TWO_DIGITS[number].size());
  };
  FORM.copy(text.data(), FORM.size());
  MONTHS.copy(text.data(), 3, 3 * (size_t{static_cast<unsigned int>(date.month())} - 1));
  put(4, static_cast<unsigned int>(date.day()));
  if (text[4] == '0') text[4] = ' ';
  put(7, secondOfDay / 3600);
  put(10, secondOfDay / 60 % 60);
  put(13, secondOfDay % 60);
  return FORM.size();
}

/// Writes a record's line from its date on and returns its length.
size_t WriteColumns(const SELRecord& record, char* line) {
  BoundedText text({line, SEL_LINE_SIZE - ORIGIN_SIZE - 1});
  text.Extend(WriteTime(ReadLittleEndian<uint32_t>(&record[RECORD_TIME]), text.Rest()));
  text.Append({&SEL_SEPARATOR, 1});
  // One record is one line, and its sensor ends at the next separator, whatever names the host gives.
  const SensorName name(record);
  name.AppendTo(text, SENSOR_COLUMN_MAX, SEL_SEPARATOR, '\n');
  text.Append({&SEL_SEPARATOR, 1});
  text.Extend(Describe(record, &name, text.Rest(), '\n'));
  // The newline has its place even where the description was cut.
  memcpy(line + text.Length(), "\n", 2);
  return text.Length() + 1;
}

}  // namespace

size_t WriteSELLine(char origin, const SELRecord& record, char* line) {
  line[SEL_ORIGIN] = origin;
  line[SEL_ORIGIN_END] = SEL_SEPARATOR;
  return ORIGIN_SIZE + WriteColumns(record, line + ORIGIN_SIZE);
}

int FormatSELLine(const SELRecord* record, char* line) {
  WriteColumns(*record, line);
  return 1;
}
