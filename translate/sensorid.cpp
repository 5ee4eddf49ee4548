#include "translate/sensorid.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include "platform/message.h"
#include "platform/nubo.h"

SensorIDTable g_aZARPIDMapping;

namespace {

constexpr char TABLE_PROPERTY[] = "G_IPMI_ZARP_ID";
constexpr char FIELD_SEPARATOR[] = ";";

bool ReadHexadecimal(const char* field, unsigned int& number) {
  return sscanf(field, "%x", &number) == 1;  // NOLINT(cert-err34-c): letters may follow the number
}

/// Appends the pairs of `text`, which is cut in place.
void AppendPairs(char* text) {
  char* rest = nullptr;
  char* sensorField = strtok_r(text, FIELD_SEPARATOR, &rest);
  while (sensorField != nullptr) {
    const char* hostField = strtok_r(nullptr, FIELD_SEPARATOR, &rest);
    if (hostField == nullptr) return;
    unsigned int sensor = 0;
    unsigned int host = 0;
    if (ReadHexadecimal(sensorField, sensor) && ReadHexadecimal(hostField, host)) {
      g_aZARPIDMapping.Append({static_cast<uint8_t>(sensor), host});
    }
    sensorField = strtok_r(nullptr, FIELD_SEPARATOR, &rest);
  }
}

}  // namespace

void SensorIDTable::Append(const ZARPIDMAPPING& row) {
  rows_.push_back(row);
  std::optional<uint32_t>& id = ids_[row.byIPMISensor];
  if (!id) id = row.dwZARPSensorID;
}

void SensorIDTable::Clear() {
  rows_.clear();
  ids_.fill(std::nullopt);
}

int GetIpmiZarpIDTable() {
  uint32_t size = 0;
  if (gmGetProperty(TABLE_PROPERTY, &size, nullptr) == 0) {
    Debug("Dbg (%s:GetIpmiZarpIDTable): gmGetProperty failed!\n");
    return 0;
  }
  if (size == 0) {
    Debug("Dbg (%s:GetIpmiZarpIDTable): gmGetProperty count = 0!\n");
    return 0;
  }
  // One zero byte more than the host fills, in case its text has no NUL.
  const auto text = std::make_unique<char[]>(static_cast<size_t>(size) + 1);
  if (gmGetProperty(TABLE_PROPERTY, &size, text.get()) == 0) {
    Debug("Dbg (%s:GetIpmiZarpIDTable): gmGetProperty failed2!\n");
    return 0;
  }
  if (strstr(text.get(), FIELD_SEPARATOR) == nullptr) {
    Debug("Dbg (%s:GetIpmiZarpIDTable): Entry Count = 0!\n");
    return 0;
  }
  AppendPairs(text.get());
  return 1;
}

void UnInitIpmiZarpIDTable() { g_aZARPIDMapping.Clear(); }

uint32_t GetZARPSensorID(uint8_t sensorNumber) { return g_aZARPIDMapping.Find(sensorNumber); }
