/// resmgr.cpp: the resource-manager library of the benchmarks: a name for each sensor, at hand from the start.
#include "translate/resmgr.h"

#include <cstdio>
#include <cstring>

#include "bench/bench.h"

namespace {

std::array<std::array<char, 24>, bench::kSensors + 1> names;

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

int MgrInit() {
  constexpr std::array kKinds = {"CPU%zu Temp", "DIMM %zu Temp", "Fan %zuA", "P3V3 Rail %zu", "Drive Bay %zu"};
  for (size_t i = 0; i < names.size(); ++i) {
    snprintf(names[i].data(), names[i].size(), kKinds.at(i % kKinds.size()), i / kKinds.size() + 1);
  }
  return 1;
}

int GetStringA(uint16_t, const tagGS_PARAM* param, char* buffer, uint32_t* size) {
  const char* name = names[param->dwObjectID - bench::kHostSensorBase].data();
  *size = static_cast<uint32_t>(strlen(name) + 1);
  if (buffer != nullptr) memcpy(buffer, name, *size);
  return 1;
}

void GetStringW() {}
void MgrUninit() {}

}  // extern "C"
#pragma GCC visibility pop
