/// host.cpp: what the host answers: at once and from memory, for what is measured is not the host's.
#include "standin/host/host.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "bench/bench.h"
#include "standin/host/recordlog.h"

namespace {

standin::Sensors MakeSensors() {
  constexpr std::array KINDS = {"CPU%zu Temp", "DIMM %zu Temp", "Fan %zuA", "P3V3 Rail %zu", "Drive Bay %zu"};
  standin::Sensors sensors(bench::SENSORS);
  for (size_t i = 1; i <= sensors.size(); ++i) {
    std::array<char, 24> name{};
    snprintf(name.data(), name.size(), KINDS.at(i % KINDS.size()), i / KINDS.size() + 1);
    sensors[i - 1].number = static_cast<uint8_t>(i);
    sensors[i - 1].hostId = static_cast<uint32_t>(bench::HOST_SENSOR_BASE + i);
    sensors[i - 1].name = name.data();
  }
  return sensors;
}

}  // namespace

void bench::SetEventLog(std::vector<SELRecord> records) {
  static const standin::Sensors sensors = MakeSensors();
  static std::unique_ptr<standin::RecordLog> log;
  log = std::make_unique<standin::RecordLog>(std::move(records), sensors);
  standin::host->controller = log.get();
  standin::host->convert = [](uint32_t, const tagVARIANT& in, tagVARIANT* out) {
    out->value.llVal = in.value.llVal * 12;
  };
  standin::host->getString = [](uint16_t, const standin::StringRequest& request, char* buffer, uint32_t* size) {
    const std::string& name = sensors[request.objectId - HOST_SENSOR_BASE - 1].name;
    *size = static_cast<uint32_t>(name.size() + 1);
    if (buffer != nullptr) memcpy(buffer, name.c_str(), *size);
    return 1;
  };
}
