/// plainline.cpp: the plain way from a SEL record to its text line, which the module's is measured against: a walk
/// through the tables from their first rows, and the C library for the rest.
#include <string.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>

#include "bench/bench.h"
#include "translate/resmgr.h"
#include "translate/sensorid.h"
#include "translate/tables.h"

namespace {

uint32_t HostSensor(const SELRecord& record) {
  for (const ZARPIDMAPPING& row : g_aZARPIDMapping.Rows()) {
    if (row.byIPMISensor == record[RECORD_SENSOR_NUMBER]) return row.dwZARPSensorID;
  }
  return NO_ZARP_SENSOR;
}

void CopyName(const SELRecord& record, char* name, size_t size) {
  char* text = nullptr;
  GetStringA({GS_TYPE_SENSOR_NAME, HostSensor(record), 0, 0}, &text);
  strncpy(name, text, size);
  delete[] text;
}

uint64_t Reading(const SELRecord& record) {
  tagVARIANT in{VT_I2, {}, {record[RECORD_EVENT_DATA_2]}, {}};
  tagVARIANT out{VT_I2, {}, {}, {}};
  gmEnterMutex(0xFFFFFFFF);
  gmExecSensorValue(HostSensor(record), "TRANS", 1, &in, &out);
  gmExitMutex();
  return out.value.ullVal;
}

const char* FindText(const SELRecord& record) {
  const uint8_t sensorType = record[RECORD_SENSOR_TYPE], eventData1 = record[RECORD_EVENT_DATA_1];
  const int eventType = record[RECORD_EVENT_TYPE] & EVENT_TYPE_MASK;
  for (uint64_t i = 0; i < g_ulSELOffsetDescCount; ++i) {
    const tagSEL_OFFSET_DESC& row = g_aSELOffsetDesc[i];
    if (row.bySensorType == sensorType && row.byOffset == (eventData1 & EVENT_OFFSET_MASK)) return row.szText;
  }
  for (uint64_t i = 0; i < g_ulSELEventDescCount; ++i) {
    const tagSEL_EVENT_DESC& row = g_aSELEventDesc[i];
    if (row.bySensorType == sensorType && row.byEventType == eventType && (eventData1 & row.byMask) == row.byValue) {
      return row.szText;
    }
  }
  return nullptr;
}

/// Of the placeholders, those that the events of the benchmarks need.
void Describe(const SELRecord& record, char* description, size_t size) {
  size_t used = 0;
  for (const char* text = FindText(record); text != nullptr && *text != '\0';) {
    if (*text != '|') {
      description[used++] = *text++;
      continue;
    }
    const char* close = strchr(text + 1, '|');
    char value[256] = {};
    if (strncmp(text, "|di|", 4) == 0) CopyName(record, value, sizeof(value));
    if (strncmp(text, "|trf|", 5) == 0) snprintf(value, sizeof(value), "%lu", Reading(record));
    if (strncmp(text, "|3|", 3) == 0) snprintf(value, sizeof(value), "%d", record[RECORD_EVENT_DATA_3]);
    used += static_cast<size_t>(snprintf(description + used, size - used, "%s", value));
    text = close + 1;
  }
  if (used > 0) return;
  used = static_cast<size_t>(snprintf(description, size, "Unspecified event! Hex dump :"));
  for (const uint8_t byte : record)
    used += static_cast<size_t>(snprintf(description + used, size - used, " %02X", byte));
}

}  // namespace

void bench::FormatPlainLine(const SELRecord* record, char* line) {
  uint32_t seconds = 0;
  memcpy(&seconds, &(*record)[RECORD_TIME], sizeof(seconds));
  const time_t time = seconds;
  char name[80] = {};
  char description[256] = {};
  CopyName(*record, name, 65);
  Describe(*record, description, sizeof(description));
  snprintf(line, 254, "%.15s|%s|%s\n", asctime(gmtime(&time)) + 4, name, description);
}
