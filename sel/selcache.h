/// selcache.h: the controller's event log as read so far. Guarded by the module lock.
#ifndef KESTRUNE_SEL_SELCACHE_H_
#define KESTRUNE_SEL_SELCACHE_H_

#include <cstdint>
#include <vector>

#include "platform/nubo.h"

/// The entries, oldest first, in the order in which the controller chains them.
extern std::vector<tagSEL_DATA> g_vSELDataCache;

/// Number of entries after the last refresh, which the controller's count is compared with.
extern uint32_t g_uiSELCacheCount;

/// Record ID of the entry appended last, after which reading goes on.
extern uint32_t g_uiLastSELRecordID;

/// Empties the cache.
void ClearSELDataCache();

/// Brings the cache up to date: reads what was added to the controller's log, or all of it when the log was cleared or
/// rewritten. A controller that fails on the way leaves what was read until then. Never holds more entries than the
/// controller announced, or than SEL_ENTRIES_MAX, whatever it chains. Throws std::bad_alloc, with the counters right.
void ReadBMCSELToCache();

#endif  // KESTRUNE_SEL_SELCACHE_H_
