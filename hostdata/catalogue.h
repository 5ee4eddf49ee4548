/// catalogue.h: which logs there are, how each is read, and what the host is told of them. State is guarded by the
/// module lock.
#ifndef KESTRUNE_HOSTDATA_CATALOGUE_H_
#define KESTRUNE_HOSTDATA_CATALOGUE_H_

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "kestrune/kestrune.h"

/// How one log is read.
struct LogSource {
  uint32_t dwID;        ///< LOG_APPLICATION to LOG_SEL
  uint32_t dwNumber;    ///< its number in property replies, 1 to 5
  const char* pszPath;  ///< the file that the filter reads; for the SEL, the SEL log file
  int nSortFirst;       ///< non-zero: its lines are sorted by month before a range is taken
};

/// The five logs, in ID order.
inline constexpr std::array<LogSource, 5> LOG_SOURCES{{
    {LOG_APPLICATION, 1, "/var/log/._app_log_.tmp", 1},
    {LOG_SECURE, 2, "/var/log/secure", 0},
    {LOG_MESSAGES, 3, "/var/log/messages", 0},
    {LOG_AGENT, 4, "/var/log/agent.log", 0},
    {LOG_SEL, 5, "/etc/zarp/conf/ipmi.log", 0},
}};

/// The log with an ID, or null.
constexpr const LogSource* FindLogSource(uint32_t id) {
  for (const LogSource& source : LOG_SOURCES) {
    if (source.dwID == id) return &source;
  }
  return nullptr;
}

/// The IDs that identifiers may name. An enabled word is 1 until the log is found missing, and never becomes 1 again
/// while the module stays loaded; the first entry of each table is always enabled.
struct ConfigTypeState {
  uint32_t dwEnabled;
  uint32_t dwConfigTypeID;
};
struct ConfigGroupState {
  uint16_t wEnabled;
  uint16_t wConfigGroupID;
};
extern std::array<ConfigTypeState, 6> g_ConfigTypeTable;
extern std::array<ConfigGroupState, 6> g_ConfigGroupTable;

/// The groups that the host reads; empty while the module is not started.
extern std::vector<tagCONFIGGROUP> g_vConfigGroups;

/// Takes a log out of both tables.
void DisableLog(uint32_t id);

/// Makes room for every group, so that BuildConfigGroups cannot fail. Throws std::bad_alloc.
void ReserveConfigGroups();

/// Lists the parent group, the enabled text logs, and the SEL where `withSEL` says so.
void BuildConfigGroups(bool withSEL);
void ClearConfigGroups();

/// Reads an item identifier (a tagIDV; of the group form only its first 12 bytes). Returns the group or type ID that it
/// names, with the instance index in `*index`; 0, with `*index` untouched, when it is invalid.
uint32_t ParseIDV(const void* identifier, uint32_t* index);

/// Handlers of SP_CONFIGGROUPS and SP_CONFIGTYPE, get.
int32_t OnGetConfigGroups(void* pArg1, void* pArg2, void* pArg3);
int32_t OnGetConfigType(void* pArg1, void* pArg2, void* pArg3);

#endif  // KESTRUNE_HOSTDATA_CATALOGUE_H_
