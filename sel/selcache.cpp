#include "sel/selcache.h"

#include <algorithm>
#include <cstring>

#include "platform/message.h"

std::vector<tagSEL_DATA> g_vSELDataCache;
uint32_t g_uiSELCacheCount = 0;
uint32_t g_uiLastSELRecordID = 0;

namespace {

constexpr uint16_t FIRST_ENTRY = 0;

/// Keeps the count equal to the cache's size, however a refresh ends.
class CountKeeper {
 public:
  CountKeeper() = default;
  ~CountKeeper() { g_uiSELCacheCount = static_cast<uint32_t>(g_vSELDataCache.size()); }
  CountKeeper(const CountKeeper&) = delete;
  CountKeeper& operator=(const CountKeeper&) = delete;
};

bool ReadEntry(uint16_t recordID, tagSEL_DATA& entry) {
  entry = {};
  entry.wRecordID = recordID;
  return gmGetIPMIEntry(&entry) != 0;
}

/// Whether the controller's log starts with another entry than the cache. One that cannot be read counts as the same.
bool WasRewritten() {
  tagSEL_DATA first{};
  return ReadEntry(FIRST_ENTRY, first) && memcmp(&first, g_vSELDataCache.data(), sizeof(first)) != 0;
}

/// The ID of the first entry that is not in the cache; SEL_LAST_ENTRY when it cannot be told.
uint16_t FirstNewEntry() {
  if (g_uiLastSELRecordID == 0) return FIRST_ENTRY;
  tagSEL_DATA last{};
  return ReadEntry(static_cast<uint16_t>(g_uiLastSELRecordID), last) ? last.wNextRecordID : SEL_LAST_ENTRY;
}

/// Appends up to `wanted` entries, from `recordID` on. Returns false when a read failed.
bool AppendEntries(uint16_t recordID, uint32_t wanted) {
  for (uint32_t read = 0; recordID != SEL_LAST_ENTRY && read < wanted; ++read) {
    tagSEL_DATA entry{};
    if (!ReadEntry(recordID, entry)) return false;
    g_vSELDataCache.push_back(entry);
    g_uiLastSELRecordID = entry.wRecordID;
    recordID = entry.wNextRecordID;
  }
  return true;
}

}  // namespace

void ClearSELDataCache() {
  g_vSELDataCache.clear();
  g_uiSELCacheCount = 0;
  g_uiLastSELRecordID = 0;
}

void ReadBMCSELToCache() {
  uint32_t count = 0;
  if (gmSELEnumEntry(&count) == 0) {
    Debug("Dbg (%s:ReadBMCSELToCache): Can't get the SEL count!\n");
    return;
  }
  if (count == 0) {
    ClearSELDataCache();
    return;
  }
  if (count == g_uiSELCacheCount) return;
  if (g_uiSELCacheCount != 0 && (WasRewritten() || count < g_uiSELCacheCount)) ClearSELDataCache();
  const uint16_t start = FirstNewEntry();
  const CountKeeper keeper;
  if (!AppendEntries(start, std::min(count, SEL_ENTRIES_MAX) - g_uiSELCacheCount)) return;
  if (g_vSELDataCache.size() != count) {
    Debug("Dbg (%s:ReadBMCSELToCache): the cache data doesn't match the BMC SEL! cache %d return count %d\n",
          static_cast<int>(g_vSELDataCache.size()), static_cast<int>(count));
  }
}
