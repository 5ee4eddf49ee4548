/// controller.cpp: the functions of NUBO that modules find in the process, with the management controller behind them.
#include <array>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>

#include "kestrune/kestrune.h"
#include "standin/machine.h"

using standin::machine;

namespace {

std::mutex nubo_mutex;

/// The sensors as the property that maps their numbers to host IDs: hexadecimal fields between ";".
std::string SensorIdTable() {
  std::string text;
  for (const standin::Sensor& sensor : machine.sensors) {
    std::array<char, 16> pair{};
    std::snprintf(pair.data(), pair.size(), "%s%X;%X", text.empty() ? "" : ";", sensor.number, sensor.host_id);
    text += pair.data();
  }
  return text.empty() ? ";" : text;  // without a single separator the text would not count as a table
}

}  // namespace

extern "C" KESTRUNE_EXPORT int gmInitialize(void) { return 1; }

extern "C" KESTRUNE_EXPORT int gmUninitialize(void) { return 1; }

extern "C" KESTRUNE_EXPORT int gmGetIPMIInfo(tagIPMI_INFO* info) {
  *info = {};
  info->dwCardID = machine.sel ? 0 : IPMI_NO_CARD;
  return 1;
}

extern "C" KESTRUNE_EXPORT int gmGetProperty(const char* name, uint32_t* size, char* buffer) {
  if (std::string_view(name) != "G_IPMI_ZARP_ID") return 0;
  const std::string text = SensorIdTable();
  const auto needed = static_cast<uint32_t>(text.size() + 1);
  if (buffer != nullptr) {
    if (*size < needed) return 0;
    std::memcpy(buffer, text.c_str(), needed);
  }
  *size = needed;
  return 1;
}

extern "C" KESTRUNE_EXPORT int gmSELEnumEntry(uint32_t* count) {
  if (!machine.sel) return 0;
  *count = static_cast<uint32_t>(machine.sel->size());
  return 1;
}

extern "C" KESTRUNE_EXPORT int gmGetIPMIEntry(tagSEL_DATA* entry) {
  const size_t id = entry->wRecordID == 0 ? 1 : entry->wRecordID;
  if (!machine.sel || id > machine.sel->size()) return 0;
  entry->wRecordID = static_cast<uint16_t>(id);
  entry->wNextRecordID = id == machine.sel->size() ? SEL_LAST_ENTRY : static_cast<uint16_t>(id + 1);
  entry->abyRecord = (*machine.sel)[id - 1];
  return 1;
}

/// Waits without end, whatever the time given: whoever holds the lock here soon lets it go.
extern "C" KESTRUNE_EXPORT int gmEnterMutex(uint32_t) {
  nubo_mutex.lock();
  return 1;
}

extern "C" KESTRUNE_EXPORT int gmExitMutex(void) {
  nubo_mutex.unlock();
  return 1;
}

extern "C" KESTRUNE_EXPORT int gmExecSensorValue(uint32_t sensorID, const char* operation, int count, tagVARIANT* in,
                                                 tagVARIANT* out) {
  const standin::Sensor* sensor = standin::FindSensor(machine.sensors, sensorID);
  if (sensor == nullptr || std::string_view(operation) != "TRANS" || count != 1) return 0;
  out->vt = VT_I4;
  out->value.llVal = standin::ConvertReading(*sensor, static_cast<uint8_t>(in->value.ullVal));
  return 1;
}
