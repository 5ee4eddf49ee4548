#include "standin/output/selfields.h"

#include <cstdio>
#include <ctime>

#include "standin/output/eventwords.h"

namespace standin {
namespace {

/// Record types: the standard's event record, and from where on makers have types with and without a time.
constexpr size_t RECORD_TYPE = 2;
constexpr size_t RECORD_GENERATOR = 7;
constexpr uint8_t TYPE_EVENT = 0x02;
constexpr uint8_t TYPE_WITHOUT_TIME = 0xE0;

/// Times below this one count from the controller's start; the last one stands for none.
constexpr uint32_t FIRST_SET_TIME = 0x20000000;
constexpr uint32_t NO_TIME = 0xFFFFFFFF;

constexpr uint8_t DEASSERTION = 0x80;

uint32_t Stamp(const SELRecord& record) {
  return record[RECORD_TYPE] >= TYPE_WITHOUT_TIME ? NO_TIME : ReadLittleEndian<uint32_t>(&record[RECORD_TIME]);
}

void AddEvent(const SELRecord& record, nlohmann::ordered_json& item) {
  const auto orNull = [](std::string_view text) {
    return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
  };
  const uint8_t sensorType = record[RECORD_SENSOR_TYPE];
  const uint8_t eventType = record[RECORD_EVENT_TYPE] & EVENT_TYPE_MASK;
  const bool isDeassertion = (record[RECORD_EVENT_TYPE] & DEASSERTION) != 0;
  const EventWords words =
      FindEventWords(eventType, sensorType, static_cast<uint8_t>(record[RECORD_EVENT_DATA_1] & EVENT_OFFSET_MASK));
  item["generator"] = ReadLittleEndian<uint16_t>(&record[RECORD_GENERATOR]);
  item["sensorType"] = sensorType;
  item["sensorTypeName"] = orNull(SensorTypeName(sensorType));
  item["sensorNumber"] = record[RECORD_SENSOR_NUMBER];
  item["eventType"] = eventType;
  item["direction"] = isDeassertion ? "deasserted" : "asserted";
  item["severity"] = SeverityName(isDeassertion ? Severity::INFORMATION : words.severity);
  item["event"] = orNull(words.text);
  item["data"] = {record[RECORD_EVENT_DATA_1], record[RECORD_EVENT_DATA_2], record[RECORD_EVENT_DATA_3]};
}

}  // namespace

std::string FormatUTC(int64_t seconds) {
  const time_t time = seconds;
  std::tm parts{};
  std::array<char, 32> text{};
  if (gmtime_r(&time, &parts) != nullptr) std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

std::optional<int64_t> RecordTime(const SELRecord& record) {
  const uint32_t stamp = Stamp(record);
  if (stamp < FIRST_SET_TIME || stamp == NO_TIME) return std::nullopt;
  return stamp;
}

void AddFields(const SELRecord* record, nlohmann::ordered_json& item) {
  for (const char* field : SEL_FIELDS) item[field] = nullptr;
  if (record == nullptr) return;
  item["recordId"] = ReadLittleEndian<uint16_t>(record->data());
  if (const auto time = RecordTime(*record)) item["timestamp"] = FormatUTC(*time);
  if (Stamp(*record) < FIRST_SET_TIME) item["preinit"] = Stamp(*record);
  if ((*record)[RECORD_TYPE] == TYPE_EVENT) AddEvent(*record, item);
  std::string raw;
  for (const uint8_t byte : *record) {
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02X", byte);
    raw += digits.data();
  }
  item["raw"] = raw;
}

}  // namespace standin
