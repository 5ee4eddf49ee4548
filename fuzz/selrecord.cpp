/// selrecord.cpp: a SEL record, with the host's names and readings, becomes one bounded line.

#include <ctime>

#include "fuzz/host.h"
#include "sel/selline.h"
#include "translate/sensorid.h"

void Fuzz(FuzzedDataProvider& input) {
  SELRecord record{};
  input.ConsumeData(record.data(), record.size());
  g_host.reading = input.ConsumeIntegral<uint64_t>();
  g_aZARPIDMapping.Clear();
  g_aZARPIDMapping.Append({record[RECORD_SENSOR_NUMBER], input.ConsumeIntegral<uint32_t>()});
  const std::string name = g_host.name = input.ConsumeRemainingBytesAsString();
  const auto buffer = std::make_unique<char[]>(SEL_LINE_SIZE - 2);  // the origin takes the other two
  FormatSELLine(&record, buffer.get());
  const std::string line = buffer.get();
  Require(line.size() <= 253 && line.find('\n') == line.size() - 1, "a record is one line of 255 bytes at most");

  time_t time = 0;
  memcpy(&time, &record[RECORD_TIME], 4);
  char start[17];
  strftime(start, sizeof(start), "%b %e %H:%M:%S|", gmtime(&time));
  std::string sensor = name.substr(0, 65).c_str();
  std::ranges::replace_if(
      sensor, [](char c) { return c == '|' || c == '\n'; }, ' ');
  const bool isNamed = !name.empty() && GetZARPSensorID(record[RECORD_SENSOR_NUMBER]) != NO_ZARP_SENSOR;
  Require(line.starts_with(isNamed ? start + sensor + '|' : start), "a line begins with its time and host's sensor");
  Require(line.find('|', 16) <= 16 + 65, "a sensor ends with a separator");
  for (const char c : line) {
    Require((c >= ' ' && c <= '~') || c == '\n' || name.find(c) < name.size(), "all but a name's bytes is printable");
  }
}
