#include "tests/support/host.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

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

Lines Take(Lines& list) {
  const std::lock_guard lock(g_mutex);
  return std::exchange(list, {});
}

class ScriptedController final : public standin::Controller {
 public:
  std::optional<uint32_t> CountEntries() override {
    if (Host().enumerate == 0) return std::nullopt;
    return Host().selCount.value_or(static_cast<uint32_t>(Host().sel.size()));
  }

  bool ReadEntry(tagSEL_DATA& entry) override {
    const auto found = std::ranges::find_if(
        Host().sel, [wanted = entry.wRecordID](const ScriptedEntry& e) { return wanted == 0 || e.recordId == wanted; });
    if (found == Host().sel.end() || found->fails) return false;
    entry = {found->recordId, found->nextId, found->record};
    return true;
  }

  const standin::Sensors& GetSensors() const override { return none_; }

 private:
  standin::Sensors none_;
} g_controller;

int GetString(uint16_t language, const standin::StringRequest& request, char* buffer, uint32_t* size) {
  const std::string& fault = Host().fault;
  const auto name = Host().names.find(request.objectId);
  if (language != 0x0409 || request.type != standin::SENSOR_NAME ||
      request.arguments != decltype(request.arguments){} || name == Host().names.end() ||
      fault == (buffer == nullptr ? "size" : "text")) {
    return 0;
  }
  const auto whole = static_cast<uint32_t>(name->second.size() + 1);
  if (buffer != nullptr) {
    std::memset(buffer, '?', *size);
    std::memcpy(buffer, name->second.c_str(), fault == "short" ? whole : std::min(*size, whole));
  } else if (fault == "empty") {
    *size = 0;
  } else {
    *size = fault == "full" ? whole - 1 : fault == "long" ? whole + 8 : fault == "short" ? whole - 3 : whole;
  }
  return 1;
}

}  // namespace

TestHost::TestHost() {
  initialize = 0;
  card = 1;
  controller = &g_controller;
  onOutput = [](int level, const std::string& text) {
    Note(g_messages, std::to_string(level) + " " + text, Host().onMessage);
  };
  onNubo = [](const std::string& call) { Note(g_calls, call, Host().onCall); };
  sensorTable = [] { return Host().mapping ? *Host().mapping + '\0' : ""; };
  convert = [](uint32_t, const tagVARIANT&, tagVARIANT*) {};
  getString = GetString;
}

TestHost& Host() {
  static TestHost host;
  return host;
}

Lines TakeLines() { return Take(g_messages); }

Lines TakeCalls() { return Take(g_calls); }
