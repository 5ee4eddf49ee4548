#include "bench/plainline.h"

#include <string.h>
#include <time.h>

#include <cstdio>

#include "sel/sensorid.h"
#include "translate/resmgr.h"
#include "translate/tables.h"

namespace bench {
namespace {

uint32_t HostSensor(const SELRecord& record) {
  for (const ZARPIDMAPPING& row : g_aZARPIDMapping) {
    if (row.byIPMISensor == record[11]) return row.dwZARPSensorID;
  }
  return NO_ZARP_SENSOR;
}

void CopyName(const SELRecord& record, char* name, size_t size) {
  tagGS_PARAM param{GS_TYPE_SENSOR_NAME, HostSensor(record), 0, 0};
  uint32_t needed = 0;
  g_lpfnGetString(0x0409, &param, nullptr, &needed);
  char* text = new char[needed];
  g_lpfnGetString(0x0409, &param, text, &needed);
  strncpy(name, text, size);
  delete[] text;
}

uint32_t ConvertedReading(const SELRecord& record) {
  tagVARIANT in{};
  tagVARIANT out{};
  in.vt = out.vt = VT_I2;
  in.value.ullVal = record[14];
  gmEnterMutex(0xFFFFFFFF);
  gmExecSensorValue(HostSensor(record), "TRANS", 1, &in, &out);
  gmExitMutex();
  return static_cast<uint32_t>(out.value.ullVal);
}

void ExpandToken(const SELRecord& record, const char* token, char* value, size_t size) {
  if (strcmp(token, "di") == 0) CopyName(record, value, size);
  if (strcmp(token, "trf") == 0) snprintf(value, size, "%ld", static_cast<long>(ConvertedReading(record)));
  if (strcmp(token, "1") == 0) snprintf(value, size, "%d", record[13]);
  if (strcmp(token, "2") == 0) snprintf(value, size, "%d", record[14]);
  if (strcmp(token, "3") == 0) snprintf(value, size, "%d", record[15]);
}

void Expand(const SELRecord& record, const char* text, char* expansion) {
  char token[5] = {};
  size_t token_length = 0;
  bool inside = false;
  const size_t length = strlen(text);
  for (size_t i = 0; i < length; ++i) {
    if (text[i] != '|') {
      if (inside) {
        token[token_length++] = text[i];
      } else {
        *expansion++ = text[i];
      }
      continue;
    }
    if (inside) {
      char value[256] = {};
      token[token_length] = '\0';
      token_length = 0;
      ExpandToken(record, token, value, sizeof(value));
      strcpy(expansion, value);
      expansion += strlen(value);
    }
    inside = !inside;
  }
}

void Describe(const SELRecord& record, char* description, size_t size) {
  for (uint64_t i = 0; i < g_ulSELOffsetDescCount; ++i) {
    const tagSEL_OFFSET_DESC& row = g_aSELOffsetDesc[i];
    if (row.bySensorType == record[10] && row.byOffset == (record[13] & 0x0F)) {
      strncpy(description, row.szText, size);
      return;
    }
  }
  for (uint64_t i = 0; i < g_ulSELEventDescCount; ++i) {
    const tagSEL_EVENT_DESC& row = g_aSELEventDesc[i];
    if (row.bySensorType == record[10] && row.byEventType == (record[12] & 0x7F) &&
        (record[13] & row.byMask) == row.byValue) {
      char expansion[160] = {};
      Expand(record, row.szText, expansion);
      strncpy(description, expansion, size);
      return;
    }
  }
  strncpy(description, "Unspecified event! Hex dump :", size);
  for (const uint8_t byte : record) {
    char digits[8];
    snprintf(digits, sizeof(digits), " %02X", byte);
    strcat(description, digits);
  }
}

}  // namespace

void FormatPlainLine(const SELRecord& record, char* line) {
  uint32_t seconds = 0;
  memcpy(&seconds, &record[3], sizeof(seconds));
  const time_t time = seconds;
  char name[80] = {};
  char description[256] = {};
  CopyName(record, name, 65);
  Describe(record, description, sizeof(description) - 1);
  snprintf(line, 254, "%.15s|%s|%s\n", asctime(gmtime(&time)) + 4, name, description);
}

}  // namespace bench
