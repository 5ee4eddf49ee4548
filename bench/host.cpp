#include "bench/host.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "bench/material.h"
#include "platform/host.h"

namespace {

std::vector<SELRecord> event_log;

/// The table from sensor numbers to the host's IDs.
std::string SensorTable() {
  std::string text;
  for (uint32_t number = 1; number <= bench::kSensorCount; ++number) {
    std::array<char, 24> pair{};
    snprintf(pair.data(), pair.size(), "%X;%X;", number, bench::kHostSensorBase + number);
    text += pair.data();
  }
  return text;
}

}  // namespace

void bench::SetEventLog(std::vector<SELRecord> records) { event_log = std::move(records); }

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED void Output(int, const char*, ...) {}
EXPORTED int GeneralOSSupportChecking(void) { return 1; }
EXPORTED int GetOSDist(void) { return 0; }
EXPORTED int gmInitialize(void) { return 1; }
EXPORTED int gmUninitialize(void) { return 1; }
EXPORTED int gmEnterMutex(uint32_t) { return 1; }
EXPORTED int gmExitMutex(void) { return 1; }

EXPORTED int gmGetIPMIInfo(tagIPMI_INFO* info) {
  *info = {};
  return 1;
}

EXPORTED int gmGetProperty(const char*, uint32_t* size, char* buffer) {
  const std::string text = SensorTable();
  *size = static_cast<uint32_t>(text.size() + 1);
  if (buffer != nullptr) memcpy(buffer, text.c_str(), *size);
  return 1;
}

EXPORTED int gmSELEnumEntry(uint32_t* count) {
  *count = static_cast<uint32_t>(event_log.size());
  return 1;
}

EXPORTED int gmGetIPMIEntry(tagSEL_DATA* entry) {
  const size_t id = entry->wRecordID == 0 ? 1 : entry->wRecordID;
  if (id > event_log.size()) return 0;
  *entry = {static_cast<uint16_t>(id), id == event_log.size() ? SEL_LAST_ENTRY : static_cast<uint16_t>(id + 1),
            event_log[id - 1]};
  return 1;
}

EXPORTED int gmExecSensorValue(uint32_t, const char*, int, tagVARIANT* in, tagVARIANT* out) {
  out->value.llVal = in->value.llVal * 12;
  return 1;
}
