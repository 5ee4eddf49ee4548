#include "tests/support/host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

#include "platform/host.h"

namespace {

std::mutex g_mutex;  // guards the two lists
Lines g_messages;
Lines g_calls;

void Note(Lines& list, const std::string& line, const std::function<void(const std::string&)>& hook) {
  {
    const std::lock_guard lock(g_mutex);
    list.push_back(line);
  }
  if (hook) hook(line);
}

void Called(const std::string& call) { Note(g_calls, call, Host().on_call); }

Lines Take(Lines& list) {
  const std::lock_guard lock(g_mutex);
  return std::exchange(list, {});
}

}  // namespace

TestHost& Host() {
  static TestHost host;
  return host;
}

Lines TakeLines() { return Take(g_messages); }

Lines TakeCalls() { return Take(g_calls); }

extern "C" {

void Output(int level, const char* format, ...) {
  std::array<char, 4096> text{};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  Note(g_messages, std::to_string(level) + " " + text.data(), Host().on_message);
}

int GeneralOSSupportChecking() { return Host().supported; }

int GetOSDist() { return Host().dist; }

int gmInitialize() {
  Called("gmInitialize");
  return Host().initialize;
}

int gmUninitialize() {
  Called("gmUninitialize");
  return Host().uninitialize;
}

int gmGetIPMIInfo(tagIPMI_INFO* info) {
  Called("gmGetIPMIInfo");
  std::memset(info, 0xA5, sizeof(*info));
  info->dwCardID = Host().card;
  return Host().info;
}

int gmGetProperty(const char* name, uint32_t* size, char* buffer) {
  Called("gmGetProperty");
  EXPECT_STREQ(name, "G_IPMI_ZARP_ID");
  if (buffer == nullptr) {
    *size = Host().mapping ? static_cast<uint32_t>(Host().mapping->size() + 1) : 0;
    return Host().property_size;
  }
  EXPECT_EQ(*size, Host().mapping->size() + 1);
  std::memcpy(buffer, Host().mapping->c_str(), *size);
  return Host().property_text;
}

int gmSELEnumEntry(uint32_t* count) {
  Called("gmSELEnumEntry");
  *count = Host().sel_count.value_or(static_cast<uint32_t>(Host().sel.size()));
  return Host().enumerate;
}

int gmGetIPMIEntry(tagSEL_DATA* entry) {
  const uint16_t wanted = entry->wRecordID;
  Called("gmGetIPMIEntry " + std::to_string(wanted));
  const auto& sel = Host().sel;
  const auto found = std::find_if(sel.begin(), sel.end(),
                                  [wanted](const ScriptedEntry& e) { return wanted == 0 || e.record_id == wanted; });
  if (found == sel.end() || found->fails) return 0;
  *entry = {found->record_id, found->next_id, found->record};
  return 1;
}

int gmEnterMutex(uint32_t) {
  Called("gmEnterMutex");
  return 1;
}

int gmExitMutex() {
  Called("gmExitMutex");
  return 1;
}

int gmExecSensorValue(uint32_t sensor, const char* operation, int count, tagVARIANT* in, tagVARIANT* out) {
  Called("gmExecSensorValue " + std::to_string(sensor));
  EXPECT_STREQ(operation, "TRANS");
  EXPECT_EQ(count, 1);
  if (Host().convert) Host().convert(sensor, *in, out);
  return 1;
}

}  // extern "C"
