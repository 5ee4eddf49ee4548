#include "translate/description.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

#include "platform/boundedtext.h"
#include "translate/tables.h"

namespace {

constexpr size_t NUMBER_LENGTH_MAX = 9;

/// A bit field of a record that a placeholder stands for.
struct NumberToken {
  std::string_view name;
  size_t byte;
  unsigned int shift;
  uint8_t mask;
};
constexpr std::array<NumberToken, 10> NUMBER_TOKENS{{
    {"1", RECORD_EVENT_DATA_1, 0, 0xFF},
    {"2", RECORD_EVENT_DATA_2, 0, 0xFF},
    {"3", RECORD_EVENT_DATA_3, 0, 0xFF},
    {"2h4", RECORD_EVENT_DATA_2, 4, 0x0F},
    {"2l4", RECORD_EVENT_DATA_2, 0, 0x0F},
    {"3h4", RECORD_EVENT_DATA_3, 4, 0x0F},
    {"3h5", RECORD_EVENT_DATA_3, 3, 0x1F},
    {"3l3", RECORD_EVENT_DATA_3, 0, 0x07},
    {"3l4", RECORD_EVENT_DATA_3, 0, 0x0F},
    {"3l7", RECORD_EVENT_DATA_3, 0, 0x7F},
}};

void AppendNumber(BoundedText& expansion, uint64_t number) {
  std::array<char, 20> digits{};
  const std::to_chars_result written = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  const auto length = static_cast<size_t>(written.ptr - digits.data());
  expansion.Append({digits.data(), std::min(length, NUMBER_LENGTH_MAX)});
}

/// What the placeholders of one record are filled from.
struct Source {
  const SELRecord& record;
  const SensorName* name;
  char unwanted;
};

void AppendName(BoundedText& expansion, const Source& source) {
  if (source.name != nullptr && source.name->IsFromHost()) {
    source.name->AppendTo(expansion, DESCRIPTION_MAX, source.unwanted, '\0');
  } else {
    SensorName(source.record).AppendTo(expansion, DESCRIPTION_MAX, source.unwanted, '\0');
  }
}

void AppendToken(BoundedText& expansion, std::string_view token, const Source& source) {
  const SELRecord& record = source.record;
  if (token == "di") return AppendName(expansion, source);
  if (token == "trf") {
    AppendNumber(expansion, GetConvertedTriggerValue(record[RECORD_SENSOR_NUMBER], record[RECORD_EVENT_DATA_2]));
    return;
  }
  const auto* found = std::ranges::find(NUMBER_TOKENS, token, &NumberToken::name);
  if (found == NUMBER_TOKENS.end()) return;
  AppendNumber(expansion, static_cast<uint64_t>(record.at(found->byte) >> found->shift) & found->mask);
}

void Expand(BoundedText& expansion, std::string_view text, const Source& source) {
  while (true) {
    const size_t open = text.find('|');
    expansion.AppendPadded(text.substr(0, open));
    if (open == std::string_view::npos) break;
    text.remove_prefix(open + 1);
    const size_t close = text.find('|');
    if (close == std::string_view::npos) break;
    AppendToken(expansion, text.substr(0, close), source);
    text.remove_prefix(close + 1);
  }
}

/// What is said of a record that no row fits.
void DumpRecord(BoundedText& dump, const SELRecord& record) {
  constexpr std::string_view DIGITS = "0123456789ABCDEF";
  dump.Append("Unspecified event! Hex dump :");
  for (const uint8_t byte : record) {
    const std::array<char, 3> text{' ', DIGITS[byte >> 4], DIGITS[byte & 0x0F]};
    dump.Append({text.data(), text.size()});
  }
}

}  // namespace

size_t Describe(const SELRecord& record, const SensorName* name, std::span<char> buffer, char unwanted) {
  BoundedText description(buffer.first(std::min(buffer.size(), DESCRIPTION_MAX + 1)));
  const uint8_t sensorType = record[RECORD_SENSOR_TYPE];
  const uint8_t eventData1 = record[RECORD_EVENT_DATA_1];
  if (const std::string_view text = FindOffsetText(sensorType, eventData1 & EVENT_OFFSET_MASK); !text.empty()) {
    description.AppendPadded(text);
    return description.Length();
  }
  const std::string_view form = FindEventTemplate(sensorType, record[RECORD_EVENT_TYPE] & EVENT_TYPE_MASK, eventData1);
  if (!form.empty()) {
    Expand(description, form, {record, name, unwanted});
  } else {
    DumpRecord(description, record);
  }
  return description.Length();
}

char* GetSELDiscription(const SELRecord* record, uint64_t length, char* output) {
  std::array<char, DESCRIPTION_MAX + 1> description;
  Describe(*record, nullptr, description, '\0');
  return strncpy(output, description.data(), length);
}
