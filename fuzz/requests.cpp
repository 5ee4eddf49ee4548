/// requests.cpp: any identifier and arguments through the entry points, on a machine of two logs and a controller.

#include <glob.h>

#include <cstdlib>
#include <fstream>

#include "fuzz/host.h"
#include "sel/selcache.h"

/// Writes the logs and starts the module.
static bool Start() {
  Require(getenv("KESTRUNE_PRIVATE_MACHINE") != nullptr, "this runs in a private machine, see script/fuzz");
  for (const char* log : {"/var/log/messages", "/var/log/cron"}) {
    std::ofstream file(log);
    for (int i = 1; i <= 9; ++i) file << "Jan  " << i << " 10:00:00 host cron[1]: message " << i << '\n';
  }
  selEnable = 1;
  return SPInitialize(nullptr, nullptr) == 1;
}

/// How many records of a log, or of its range, there are.
static uint32_t CountRecords(uint32_t id, const tagITEMRANGE* range) {
  const uint32_t total = id == LOG_SEL ? g_uiSELCacheCount : id == LOG_APPLICATION || id == LOG_MESSAGES ? 9 : 0;
  if (range == nullptr) return total;
  const uint32_t begin = std::max(range->dwBegin, 1U);
  const uint32_t end = range->dwEnd == 0 ? total : std::min(range->dwEnd, total);
  return begin > end || (id == LOG_SEL && range->dwBegin > range->dwEnd) ? 0 : end - begin + 1;
}

void Fuzz(FuzzedDataProvider& input) {
  static const bool isStarted = Start();
  Require(isStarted, "the module starts");
  const auto number = [&input](uint16_t most) { return input.ConsumeIntegralInRange<uint16_t>(0, most); };
  // Each argument ends with its block, so that no byte behind it can be touched.
  const uint16_t kind = number(2), index = number(6);
  const auto id = input.PickValueInArray<uint16_t>({5, 12, 247, 248, 249, 250, 251, 252});
  const std::vector<std::vector<uint16_t>> forms = {{6, 0}, {4, 0, 0, 0, index, id}, {5, 0, 0, 0, index, 0, id, 0}};
  std::vector<uint16_t> identifier = forms[kind];
  const std::string request = input.PickValueInArray({SP_PROPERTY, SP_CONFIGITEM, SP_CONFIGITEMEX});
  const bool isRange = request == SP_CONFIGITEMEX;
  const tagITEMRANGE asked{number(12), number(12), 77, number(12)};
  const auto range = std::make_unique<tagITEMRANGE>(asked);
  HostItems items(asked.dwCount);
  const auto orNull = [&](void* argument) { return number(7) == 7 ? nullptr : argument; };
  void* first = orNull(identifier.data());
  void* second = orNull(isRange ? &range->dwBegin : &range->dwCount);
  void* third = orNull(items.data());
  const uint32_t op = number(3);
  while (input.remaining_bytes() > 1) g_host.sel.push_back({number(4), number(4), {}});
  for (tagSEL_DATA& entry : g_host.sel) entry.wNextRecordID |= entry.wNextRecordID == 4 ? SEL_LAST_ENTRY : 0;
  ClearSELDataCache();
  const int32_t result = SPConfig(op, request.c_str(), first, second, third);

  glob_t found{};
  Require(glob("/tmp/__*", 0, nullptr, &found) == GLOB_NOMATCH, "no temporary file is left");
  Require(g_vSELDataCache.size() <= g_host.sel.size(), "no more is read than the controller announced");
  const size_t filled = items.CountFilled();
  if (result == 0 || (op & SP_OP_GET) == 0) {
    Require(filled == 0 && memcmp(range.get(), &asked, sizeof(asked)) == 0, "a refused read leaves all as it was");
    return;
  }
  uint32_t expected = CountRecords(id, isRange ? &asked : nullptr);
  if (request == SP_PROPERTY) expected = id == CONFIG_TYPE_LOG && index == 0 ? 5 : 1;
  Require(range->dwCount == expected, "the count is that of the records asked for");
  Require(filled == (third == nullptr ? 0 : expected), "as many items are filled as are counted");
  for (size_t i = 0; i < filled && request != SP_PROPERTY; ++i) {
    Require(items[i].dwIndex == (isRange ? range->dwBegin : 1) + i, "items are numbered from the begin on");
  }
}
