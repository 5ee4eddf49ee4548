/// sensortable.cpp: the host's text of sensor IDs becomes the pairs of numbers that it holds.

#include <cstdlib>
#include <sstream>

#include "fuzz/host.h"
#include "sel/sensorid.h"

void Fuzz(FuzzedDataProvider& input) {
  g_host.mapping = input.ConsumeRemainingBytesAsString();
  UnInitIpmiZarpIDTable();
  const int result = GetIpmiZarpIDTable();

  const std::string text = g_host.mapping.c_str();
  Require(result == (text.find(';') == std::string::npos ? 0 : 1), "a text without a separator is refused");
  std::istringstream stream(result == 1 ? text : "");
  size_t rows = 0, fields = 0;
  unsigned long numbers[2] = {};
  bool isNumber[2] = {};
  for (std::string field; std::getline(stream, field, ';');) {
    if (field.empty()) continue;
    char* end = nullptr;
    numbers[fields % 2] = strtoul(field.c_str(), &end, 16);
    isNumber[fields % 2] = end != field.c_str();
    if (++fields % 2 != 0 || !isNumber[0] || !isNumber[1]) continue;
    Require(g_aZARPIDMapping.size() > rows && g_aZARPIDMapping[rows].byIPMISensor == numbers[0] % 256 &&
                g_aZARPIDMapping[rows].dwZARPSensorID == numbers[1] % (1UL << 32),
            "a pair of numbers is a row");
    ++rows;
  }
  Require(g_aZARPIDMapping.size() == rows, "nothing else is a row");
}
