#include "sel/seldump.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "platform/nubo.h"
#include "translate/description.h"

namespace {

void PrintEntry(const tagSEL_DATA& entry) {
  puts("Get SEL data success!");
  printf("selid %d next id %d data:", entry.wRecordID, entry.wNextRecordID);
  for (const uint8_t byte : entry.abyRecord) printf("%02x ", byte);
  putchar('\n');
  std::array<char, 256> description{};
  GetSELDiscription(&entry.abyRecord, description.size() - 1, description.data());
  printf("Translate: %s\n", description.data());
}

}  // namespace

void DumpControllerLog() {
  uint32_t count = 0;
  if (gmSELEnumEntry(&count) == 0) {
    puts("Get SEL count failed!");
    return;
  }
  printf("Get SEL count = %d\n", static_cast<int>(count));
  tagSEL_DATA entry{};
  for (uint32_t read = 0; read < std::min(count, SEL_ENTRIES_MAX) && entry.wRecordID != SEL_LAST_ENTRY; ++read) {
    if (gmGetIPMIEntry(&entry) != 0) {
      PrintEntry(entry);
    } else {
      puts("Get SEL data fail!");
    }
    entry.wRecordID = entry.wNextRecordID;
  }
}
