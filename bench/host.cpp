/// host.cpp: the functions of the host, which answer at once and from memory: what is measured is not theirs.
#include "platform/host.h"

#include <cstring>
#include <string>
#include <utility>

#include "bench/bench.h"

namespace {

std::vector<SELRecord> event_log;

}  // namespace

void bench::SetEventLog(std::vector<SELRecord> records) { event_log = std::move(records); }

#pragma GCC visibility push(default)
extern "C" {

void Output(int, const char*, ...) {}
int GeneralOSSupportChecking() { return 1; }
int GetOSDist() { return 0; }
int gmInitialize() { return 1; }
int gmUninitialize() { return 1; }
int gmEnterMutex(uint32_t) { return 1; }
int gmExitMutex() { return 1; }

int gmGetIPMIInfo(tagIPMI_INFO* info) {
  *info = {};
  return 1;
}

int gmGetProperty(const char*, uint32_t* size, char* buffer) {
  std::string table;
  for (uint32_t number = 1; number <= bench::kSensors; ++number) {
    std::array<char, 24> pair{};
    snprintf(pair.data(), pair.size(), "%X;%X;", number, bench::kHostSensorBase + number);
    table += pair.data();
  }
  *size = static_cast<uint32_t>(table.size() + 1);
  if (buffer != nullptr) memcpy(buffer, table.c_str(), *size);
  return 1;
}

int gmSELEnumEntry(uint32_t* count) {
  *count = static_cast<uint32_t>(event_log.size());
  return 1;
}

int gmGetIPMIEntry(tagSEL_DATA* entry) {
  const size_t id = entry->wRecordID == 0 ? 1 : entry->wRecordID;
  const size_t next = id == event_log.size() ? SEL_LAST_ENTRY : id + 1;
  *entry = {static_cast<uint16_t>(id), static_cast<uint16_t>(next), event_log.at(id - 1)};
  return 1;
}

int gmExecSensorValue(uint32_t, const char*, int, tagVARIANT* in, tagVARIANT* out) {
  out->value.llVal = in->value.llVal * 12;
  return 1;
}

}  // extern "C"
#pragma GCC visibility pop
