/// resmgr.cpp: the stand-in for the host's resource-manager library, libresmgr.so. It keeps the names of the sensors
/// that the file named by KESTRUNE_SENSORS describes; without the variable it has none.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "kestrune/kestrune.h"
#include "standin/sensors.h"

namespace {

/// Names the string wanted, as callers pass it.
struct StringRequest {
  uint32_t type;
  uint32_t object_id;
  uint32_t arguments[2];
};
static_assert(sizeof(StringRequest) == 16);

constexpr uint32_t kSensorName = 0x00080002;

standin::Sensors known_sensors;

}  // namespace

extern "C" KESTRUNE_EXPORT int MgrInit() {
  const char* path = std::getenv(standin::kSensorsVariable);
  if (path == nullptr) return 1;
  try {
    known_sensors = standin::ReadSensors(path);
    return 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "libresmgr: %s\n", error.what());
    return 0;
  }
}

/// Two calls for one string: without a buffer its size in bytes is told, terminator included. There is one language
/// only, whatever is asked for.
extern "C" KESTRUNE_EXPORT int GetStringA(uint16_t, const StringRequest* request, char* buffer, uint32_t* size) {
  if (request->type != kSensorName) return 0;
  const standin::Sensor* sensor = standin::FindSensor(known_sensors, request->object_id);
  if (sensor == nullptr) return 0;
  const auto needed = static_cast<uint32_t>(sensor->name.size() + 1);
  if (buffer != nullptr) {
    if (*size < needed) return 0;
    std::memcpy(buffer, sensor->name.c_str(), needed);
  }
  *size = needed;
  return 1;
}

/// Wide strings are not kept here: every request fails.
extern "C" KESTRUNE_EXPORT int GetStringW(uint16_t, const StringRequest*, wchar_t*, uint32_t*) { return 0; }

extern "C" KESTRUNE_EXPORT void MgrUninit() { known_sensors.clear(); }
