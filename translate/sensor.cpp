#include "translate/sensor.h"

#include <cstring>

#include "sel/sensorid.h"
#include "translate/resmgr.h"
#include "translate/tables.h"

namespace {

constexpr char UNKNOWN_SENSOR_TYPE[] = "N/A";
constexpr char CONVERT_OPERATION[] = "TRANS";
constexpr uint32_t WAIT_FOR_EVER = 0xFFFFFFFF;

/// The lock of the hardware-access module.
class HardwareLock {
 public:
  HardwareLock() { gmEnterMutex(WAIT_FOR_EVER); }
  ~HardwareLock() { gmExitMutex(); }
  HardwareLock(const HardwareLock&) = delete;
  HardwareLock& operator=(const HardwareLock&) = delete;
};

const char* NameOfSensorType(const SELRecord& record) {
  const char* name = FindSensorTypeName(record[RECORD_SENSOR_TYPE]);
  return name != nullptr ? name : UNKNOWN_SENSOR_TYPE;
}

}  // namespace

SensorName FindSensorName(const SELRecord& record) {
  const uint32_t sensorID = GetZARPSensorID(record[RECORD_SENSOR_NUMBER]);
  char* hostName = nullptr;
  if (sensorID != NO_ZARP_SENSOR && GetStringA({GS_TYPE_SENSOR_NAME, sensorID, 0, 0}, &hostName) != 0) {
    return {std::unique_ptr<char[]>(hostName), hostName};
  }
  return {nullptr, NameOfSensorType(record)};
}

char* GetSensorNameBySensorType(const SELRecord* record, uint8_t length, char* output) {
  return strncpy(output, NameOfSensorType(*record), length);
}

char* GetSensorName(const SELRecord* record, uint32_t size, char* output) {
  const SensorName name = FindSensorName(*record);
  return strncpy(output, name.text.data(), name.hostName != nullptr ? size_t{size} + 1 : size);
}

uint64_t GetConvertedTriggerValue(uint8_t sensorNumber, uint8_t rawReading) {
  const uint32_t sensorID = GetZARPSensorID(sensorNumber);
  if (sensorID == NO_ZARP_SENSOR) return 0;
  const HardwareLock lock;
  tagVARIANT raw{};
  raw.vt = VT_I2;
  raw.value.ullVal = rawReading;
  tagVARIANT converted{};
  converted.vt = VT_I2;
  gmExecSensorValue(sensorID, CONVERT_OPERATION, 1, &raw, &converted);
  return static_cast<uint32_t>(converted.value.ullVal);
}
