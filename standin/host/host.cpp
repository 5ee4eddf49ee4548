/// host.cpp: the functions that modules find in the host process.
#include "standin/host/host.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string_view>

#include "kestrune/kestrune.h"

namespace standin {
namespace {

HostProcess defaultHost;
std::recursive_mutex nuboMutex;  // a thread that forgets to let go is not stopped by itself

void Called(const char* function) {
  if (host->onNubo) host->onNubo(function);
}

void Called(const char* function, uint32_t id) {
  if (host->onNubo) host->onNubo(std::string(function) + " " + std::to_string(id));
}

int Answer(const char* function, int HostProcess::*answer) {
  Called(function);
  return host->*answer;
}

/// The sensors as the property that maps their numbers to host IDs: hexadecimal fields between ";".
std::string MakeSensorTable(const Sensors& sensors) {
  std::string text;
  for (const Sensor& sensor : sensors) {
    std::array<char, 16> pair{};
    std::snprintf(pair.data(), pair.size(), "%s%X;%X", text.empty() ? "" : ";", sensor.number, sensor.hostId);
    text += pair.data();
  }
  // Without a single separator the text would not count as a table. Its NUL is a part of the property.
  return (text.empty() ? ";" : text) + '\0';
}

/// One of the two calls for a text: without a buffer its size is told, with one of at least that size it is copied.
bool CopyText(std::string_view text, char* buffer, uint32_t* size) {
  if (buffer != nullptr) {
    if (*size < text.size()) return false;
    std::memcpy(buffer, text.data(), text.size());
  }
  *size = static_cast<uint32_t>(text.size());
  return true;
}

}  // namespace

HostProcess* host = &defaultHost;

extern "C" {  // which leaves the namespace out of the names

KESTRUNE_EXPORT void Output(int level, const char* format, ...) {
  if (!host->onOutput) return;
  std::array<char, 4096> text{};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  host->onOutput(level, text.data());
}

KESTRUNE_EXPORT int GeneralOSSupportChecking(void) { return host->supported; }

KESTRUNE_EXPORT int GetOSDist(void) { return host->dist; }

KESTRUNE_EXPORT int gmInitialize(void) { return Answer("gmInitialize", &HostProcess::initialize); }

KESTRUNE_EXPORT int gmUninitialize(void) { return Answer("gmUninitialize", &HostProcess::uninitialize); }

KESTRUNE_EXPORT int gmGetIPMIInfo(tagIPMI_INFO* info) {
  Called("gmGetIPMIInfo");
  std::memset(info, 0xA5, sizeof(*info));  // the card ID alone means anything
  info->dwCardID = host->controller->IsPresent() ? host->card : IPMI_NO_CARD;
  return host->info;
}

KESTRUNE_EXPORT int gmGetProperty(const char* name, uint32_t* size, char* buffer) {
  Called("gmGetProperty");
  if (std::string_view(name) != "G_IPMI_ZARP_ID") return 0;
  const auto text = host->sensorTable ? host->sensorTable() : MakeSensorTable(host->controller->GetSensors());
  if (buffer != nullptr && *size != text.size()) return 0;
  CopyText(text, buffer, size);
  return buffer == nullptr ? host->propertySize : host->propertyText;
}

KESTRUNE_EXPORT int gmSELEnumEntry(uint32_t* count) {
  Called("gmSELEnumEntry");
  const auto entries = host->controller->CountEntries();
  *count = entries.value_or(0);
  return entries ? 1 : 0;
}

KESTRUNE_EXPORT int gmGetIPMIEntry(tagSEL_DATA* entry) {
  Called("gmGetIPMIEntry", entry->wRecordID);
  return host->controller->ReadEntry(*entry) ? 1 : 0;
}

/// Waits without end, whatever the time given: whoever holds the lock here soon lets it go.
KESTRUNE_EXPORT int gmEnterMutex(uint32_t) {
  Called("gmEnterMutex");
  nuboMutex.lock();
  return 1;
}

KESTRUNE_EXPORT int gmExitMutex(void) {
  Called("gmExitMutex");
  nuboMutex.unlock();
  return 1;
}

KESTRUNE_EXPORT int gmExecSensorValue(uint32_t sensorID, const char* operation, int count, tagVARIANT* in,
                                      tagVARIANT* out) {
  Called("gmExecSensorValue", sensorID);
  if (std::string_view(operation) != "TRANS" || count != 1) return 0;
  if (host->convert) {
    host->convert(sensorID, *in, out);
    return 1;
  }
  const Sensor* sensor = FindSensor(host->controller->GetSensors(), sensorID);
  if (sensor == nullptr) return 0;
  out->vt = VT_I4;
  out->value.llVal = ConvertReading(*sensor, static_cast<uint8_t>(in->value.ullVal));
  return 1;
}

KESTRUNE_EXPORT int HostManager(int start) {
  host->managerIsUp = start != 0 && host->manager != 0;
  return host->manager;
}

/// There is one language only, whatever is asked for.
KESTRUNE_EXPORT int HostGetStringA(uint16_t language, const StringRequest* request, char* buffer, uint32_t* size) {
  if (host->getString) return host->getString(language, *request, buffer, size);
  if (request->type != SENSOR_NAME) return 0;
  const Sensor* sensor = FindSensor(host->controller->GetSensors(), request->objectId);
  return sensor != nullptr && CopyText({sensor->name.c_str(), sensor->name.size() + 1}, buffer, size) ? 1 : 0;
}

KESTRUNE_EXPORT int HostGetStringW(void) {
  Called("GetStringW");
  return 0;
}

}  // extern "C"

}  // namespace standin
