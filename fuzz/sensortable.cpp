/// sensortable.cpp: the host's text of sensor IDs becomes the pairs of numbers that it holds.

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "fuzz/host.h"
#include "translate/sensorid.h"

void Fuzz(FuzzedDataProvider& input) {
  g_host.mapping = input.ConsumeRemainingBytesAsString();
  UnInitIpmiZarpIDTable();
  const int result = GetIpmiZarpIDTable();
  const auto table = g_aZARPIDMapping.Rows();

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
    Require(table.size() > rows && table[rows].byIPMISensor == numbers[0] % 256 &&
                table[rows].dwZARPSensorID == numbers[1] % (1UL << 32),
            "a pair of numbers is a row");
    const auto first = std::ranges::find(table, table[rows].byIPMISensor, &ZARPIDMAPPING::byIPMISensor);
    Require(GetZARPSensorID(table[rows].byIPMISensor) == first->dwZARPSensorID, "the first row of a number counts");
    ++rows;
  }
  Require(table.size() == rows, "nothing else is a row");
}
