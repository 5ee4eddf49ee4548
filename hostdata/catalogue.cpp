#include "hostdata/catalogue.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

#include "hostdata/logread.h"
#include "platform/message.h"

char AppLogList[256] = {};
uint32_t selEnable = 0;

const std::array<LogSource, 5> LOG_SOURCES{{
    {LOG_APPLICATION, 1, "/var/log/._app_log_.tmp", 1, HasApplicationLogs, false, IsAlwaysReady, MergeApplicationLog,
     CountTextLog, FilterTextLog, FillTextLog},
    {LOG_SECURE, 2, "/var/log/secure", 0, HasTextLog, false, IsAlwaysReady, NeedsNoUpdate, CountTextLog, FilterTextLog,
     FillTextLog},
    {LOG_MESSAGES, 3, "/var/log/messages", 0, HasTextLog, false, IsAlwaysReady, NeedsNoUpdate, CountTextLog,
     FilterTextLog, FillTextLog},
    {LOG_AGENT, 4, "/var/log/agent.log", 0, HasTextLog, false, IsAlwaysReady, NeedsNoUpdate, CountTextLog,
     FilterTextLog, FillTextLog},
    {LOG_SEL, 5, "/etc/zarp/conf/ipmi.log", 0, HasSEL, true, IsSELReady, NeedsNoUpdate, CountSEL, FilterSEL, FillSEL},
}};

const LogSource* FindLogSource(uint32_t id) {
  const auto* found = std::ranges::find(LOG_SOURCES, id, &LogSource::dwID);
  return found == LOG_SOURCES.end() ? nullptr : found;
}

std::array<ConfigTypeState, 6> g_ConfigTypeTable{
    {{1, CONFIG_TYPE_LOG}, {1, LOG_APPLICATION}, {1, LOG_SECURE}, {1, LOG_MESSAGES}, {1, LOG_AGENT}, {1, LOG_SEL}}};
std::array<ConfigGroupState, 6> g_ConfigGroupTable{
    {{1, CONFIG_GROUP_LOGS}, {1, LOG_APPLICATION}, {1, LOG_SECURE}, {1, LOG_MESSAGES}, {1, LOG_AGENT}, {1, LOG_SEL}}};
std::vector<tagCONFIGGROUP> g_vConfigGroups;

namespace {

constexpr tagCONFIGGROUP PARENT_GROUP{0, CONFIG_GROUP_LOGS, 0, 0, 0};

constexpr tagCONFIGGROUP LogGroup(uint32_t id) {
  return {0, static_cast<uint16_t>(id), 0, CONFIG_GROUP_LOGS, CONFIG_TYPE_LOG};
}

/// Takes a log out of both tables.
void DisableLog(uint32_t id) {
  for (ConfigTypeState& state : g_ConfigTypeTable) {
    if (state.dwConfigTypeID == id) state.dwEnabled = 0;
  }
  for (ConfigGroupState& state : g_ConfigGroupTable) {
    if (state.wConfigGroupID == id) state.wEnabled = 0;
  }
}

bool IsEnabled(uint32_t id) {
  const auto* state = std::ranges::find(g_ConfigGroupTable, id, &ConfigGroupState::wConfigGroupID);
  return state != g_ConfigGroupTable.end() && state->wEnabled == 1;
}

/// Bytes of a type list of `count` entries with one member each.
constexpr size_t TypeListSize(size_t count) {
  return sizeof(tagCONFIGTYPELIST) + count * (sizeof(tagCONFIGTYPEENTRY) + sizeof(uint32_t));
}

/// Writes the list of `ids` into a buffer of TypeListSize bytes and any alignment.
void WriteTypeList(std::span<const uint32_t> ids, std::byte* buffer) {
  const uint32_t count = static_cast<uint32_t>(ids.size());
  memcpy(buffer + offsetof(tagCONFIGTYPELIST, dwTypeCount), &count, sizeof(count));
  std::byte* entryPlace = buffer + sizeof(tagCONFIGTYPELIST);
  std::byte* memberPlace = entryPlace + ids.size() * sizeof(tagCONFIGTYPEENTRY);
  for (const uint32_t id : ids) {
    // The address of the member list may be odd if the host's buffer is; it is stored, not used.
    const tagCONFIGTYPEENTRY entry{id << 16, 1, reinterpret_cast<uint32_t*>(memberPlace)};
    memcpy(entryPlace, &entry, sizeof(entry));
    memcpy(memberPlace, &id, sizeof(id));
    entryPlace += sizeof(entry);
    memberPlace += sizeof(id);
  }
}

}  // namespace

void ReserveConfigGroups() { g_vConfigGroups.reserve(g_ConfigGroupTable.size()); }

void BuildConfigGroups() {
  g_vConfigGroups.clear();
  g_vConfigGroups.push_back(PARENT_GROUP);
  for (const LogSource& log : LOG_SOURCES) {
    const bool exists = log.pfnExists(log);
    if (!exists) DisableLog(log.dwID);
    if (exists && (log.bReturns || IsEnabled(log.dwID))) g_vConfigGroups.push_back(LogGroup(log.dwID));
  }
}

void ClearConfigGroups() { g_vConfigGroups.clear(); }

uint32_t ParseIDV(const void* identifier, uint32_t* index) {
  tagIDV idv{};
  memcpy(&idv, identifier, sizeof(idv.dwIDVType));
  if (idv.dwIDVType == IDV_CONFIGGROUP) {
    memcpy(&idv, identifier, offsetof(tagIDV, id) + sizeof(idv.id.group));
    const uint16_t id = idv.id.group.wConfigGroupID;
    if (std::ranges::find(g_ConfigGroupTable, id, &ConfigGroupState::wConfigGroupID) != g_ConfigGroupTable.end()) {
      *index = idv.id.group.wIndex;
      return id;
    }
    Error("Err (%s:ParseIDV): Invalid config group ID: 0x%x\n", static_cast<unsigned int>(id));
    return 0;
  }
  if (idv.dwIDVType == IDV_CONFIGTYPE) {
    memcpy(&idv, identifier, offsetof(tagIDV, id) + sizeof(idv.id.type));
    const uint32_t id = idv.id.type.dwConfigTypeID;
    if (std::ranges::find(g_ConfigTypeTable, id, &ConfigTypeState::dwConfigTypeID) != g_ConfigTypeTable.end()) {
      *index = idv.id.type.dwIndex;
      return id;
    }
    Error("Err (%s:ParseIDV): Invalid config type ID: 0x%x\n", id);
    return 0;
  }
  Error("Err (%s:ParseIDV): Invalid IDV type ID: 0x%x\n", idv.dwIDVType);
  return 0;
}

int32_t OnGetConfigGroups(void* pArg1, void* pArg2, void* /*pArg3*/) {
  Debug("Dbg (%s): in OnGetConfigGroups\n");
  if (pArg1 == nullptr) {
    Error("Err (%s:OnGetConfigGroups): Parameter error!\n");
    return 0;
  }
  uint32_t& count = *static_cast<uint32_t*>(pArg1);
  if (pArg2 != nullptr) {
    if (count < g_vConfigGroups.size()) {
      Error("Err (%s:OnGetConfigGroups): The buffer isn't enough!\n");
      return 0;
    }
    std::ranges::copy(g_vConfigGroups, static_cast<tagCONFIGGROUP*>(pArg2));
  }
  count = static_cast<uint32_t>(g_vConfigGroups.size());
  return 1;
}

int32_t OnGetConfigType(void* pArg1, void* pArg2, void* /*pArg3*/) {
  Debug("Dbg (%s): In OnGetConfigType\n");
  if (pArg1 == nullptr) {
    Error("Err (%s:OnGetConfigType): Parameter error!\n");
    return 0;
  }
  std::array<uint32_t, LOG_SOURCES.size()> ids{};
  size_t count = 0;
  for (const ConfigTypeState& state : g_ConfigTypeTable) {
    if (state.dwConfigTypeID != CONFIG_TYPE_LOG && state.dwEnabled == 1) ids.at(count++) = state.dwConfigTypeID;
  }
  uint32_t& size = *static_cast<uint32_t*>(pArg1);
  const uint32_t capacity = size;
  size = static_cast<uint32_t>(TypeListSize(count));
  if (pArg2 == nullptr) return 1;
  if (capacity < size) return 0;
  WriteTypeList(std::span(ids).first(count), static_cast<std::byte*>(pArg2));
  return 1;
}
