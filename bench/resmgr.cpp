/// resmgr.cpp: the resource-manager library of the benchmarks: a name for each sensor, at hand from the start.
#include "translate/resmgr.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "bench/material.h"

namespace {

struct Name {
  std::array<char, 24> text;
  uint32_t size;  ///< with its NUL
};
std::array<Name, bench::kSensorCount> names;

}  // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED int MgrInit() {
  constexpr std::array kKinds = {"CPU%zu Temp", "DIMM %zu Temp", "Fan %zuA",
                                 "PSU%zu AC",   "P3V3 Rail %zu", "Drive Bay %zu"};
  for (size_t i = 0; i < names.size(); ++i) {
    const int length =
        snprintf(names[i].text.data(), names[i].text.size(), kKinds.at(i % kKinds.size()), i / kKinds.size() + 1);
    names[i].size = static_cast<uint32_t>(length) + 1;
  }
  return 1;
}

EXPORTED int GetStringA(uint16_t, const tagGS_PARAM* param, char* buffer, uint32_t* size) {
  const uint32_t index = param->dwObjectID - bench::kHostSensorBase - 1;
  if (index >= names.size()) return 0;
  *size = names[index].size;
  if (buffer != nullptr) memcpy(buffer, names[index].text.data(), *size);
  return 1;
}

EXPORTED void GetStringW() {}
EXPORTED void MgrUninit() {}
