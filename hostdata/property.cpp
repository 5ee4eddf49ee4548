#include "hostdata/property.h"

#include <span>

#include "hostdata/catalogue.h"
#include "hostdata/logread.h"
#include "hostdata/replyitems.h"
#include "hostdata/value.h"
#include "platform/message.h"

namespace {

constexpr uint32_t ALL_LOGS = 0;
constexpr uint32_t PROPERTY_ENTRY_COUNT = 3;

/// Counts a log and fills its item: the count, and the two entries in which a message for the system log comes back.
void FillProperty(const LogSource& log, tagCONFIGITEM& item) {
  const uint64_t records = CountLog(log, 0, nullptr, nullptr);
  item = {log.dwNumber, CONFIG_TYPE_LOG, PROPERTY_ENTRY_COUNT, nullptr};
  item.pEntries = new tagCONFIGENTRY[PROPERTY_ENTRY_COUNT];
  item.pEntries[0].dwEntryID = CE_RECORDS;
  item.pEntries[0].dwAttributes = CE_ATTRIBUTE_READONLY;
  AssignInteger(item.pEntries[0].varValue, static_cast<int64_t>(records));
  item.pEntries[1].dwEntryID = CE_LEVEL;
  item.pEntries[1].dwAttributes = CE_ATTRIBUTE_WRITABLE;
  AssignInteger(item.pEntries[1].varValue, 0);
  item.pEntries[2].dwEntryID = CE_TEXT;
  item.pEntries[2].dwAttributes = CE_ATTRIBUTE_WRITABLE;
  AssignString(item.pEntries[2].varValue, "", TextWidener());
}

/// The work of OnGetProperty: `group` is a log's ID, or ALL_LOGS. Throws std::bad_alloc with nothing changed.
int GetProperty(uint32_t group, uint32_t* count, tagCONFIGITEM* items) {
  std::span<const LogSource> logs = LOG_SOURCES;
  if (group != ALL_LOGS) {
    const LogSource* log = FindLogSource(group);
    logs = std::span(log, log == nullptr ? 0 : 1);
  }
  for (const LogSource& log : logs) log.pfnUpdate();
  const auto needed = static_cast<uint32_t>(group == ALL_LOGS ? logs.size() : 1);
  if (items == nullptr) {
    *count = needed;
    return 1;
  }
  if (*count < needed) {
    Error("Err (%s:GetProperty): The buffer isn't enough!\n");
    return 0;
  }
  if (logs.empty()) {
    Error("Err (%s:GetProperty): Unknow ConfigGroup!\n");
    return 0;
  }
  ReplyItems reply(logs.size());
  for (size_t i = 0; i < logs.size(); ++i) FillProperty(logs[i], reply.Data()[i]);
  *count = reply.HandOver(items);
  return 1;
}

}  // namespace

int32_t OnGetProperty(void* pArg1, void* pArg2, void* pArg3) {
  Debug("Dbg (%s): in OnGetProperty\n");
  if (pArg1 == nullptr || pArg2 == nullptr) {
    Error("Err (%s:OnGetProperty): Parameter error!\n");
    return 0;
  }
  uint32_t index = 0;
  const uint32_t id = ParseIDV(pArg1, &index);
  if (id == 0) return 0;
  uint32_t group = id;
  if (id == CONFIG_TYPE_LOG && index < g_ConfigGroupTable.size()) {
    group = index == 0 ? ALL_LOGS : g_ConfigGroupTable.at(index).wConfigGroupID;
  } else if (FindLogSource(id) == nullptr) {
    Error("Err (%s:OnGetProperty): Doesn't support ID 0x%lx index %ld\n", static_cast<unsigned long>(id),
          static_cast<long>(index));
    return 0;
  }
  return GetProperty(group, static_cast<uint32_t*>(pArg2), static_cast<tagCONFIGITEM*>(pArg3));
}
