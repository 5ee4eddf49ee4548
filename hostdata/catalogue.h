/// catalogue.h: which logs there are, how each is read, and what the host is told of them. State is guarded by the
/// module lock. AppLogList and selEnable, which the host may read, are defined here too and set at start.
#ifndef KESTRUNE_HOSTDATA_CATALOGUE_H_
#define KESTRUNE_HOSTDATA_CATALOGUE_H_

#include <array>
#include <cstdint>
#include <vector>

#include "kestrune/kestrune.h"

struct FilterOutput;

/// One log: what it is called, and the functions by which it is found, counted and read.
struct LogSource {
  uint32_t dwID;        ///< LOG_APPLICATION to LOG_SEL
  uint32_t dwNumber;    ///< its number in property replies, 1 to 5
  const char* pszPath;  ///< the file that the filter reads; for the SEL, the SEL log file
  int nSortFirst;       ///< non-zero: its lines are sorted by month before a range is taken

  /// Whether the machine has the log, asked at a start. The catalogue offers a log that exists and is enabled; one with
  /// `bReturns` also where it was missing at an earlier start.
  bool (*pfnExists)(const LogSource& log);
  bool bReturns;
  /// Whether it can be read now. If not, it is answered like an empty one.
  bool (*pfnIsReady)();
  /// Brings what its filter reads up to date; called before every request for it.
  void (*pfnUpdate)();
  /// As LogFilter and SELLogFilter count, and as they filter.
  uint64_t (*pfnCount)(const char* path, int sortFirst, uint64_t* begin, uint64_t* end);
  void (*pfnFilter)(const LogSource& log, FilterOutput& output, uint64_t* begin, uint64_t* end);
  /// As FillConfigItem fills items from what the filter has delivered.
  int (*pfnFill)(const LogSource& log, FilterOutput& output, tagCONFIGITEM* items, uint32_t firstIndex);
};

/// The five logs, in ID order.
extern const std::array<LogSource, 5> LOG_SOURCES;

/// The log with an ID, or null.
const LogSource* FindLogSource(uint32_t id);

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

/// Makes room for every group, so that BuildConfigGroups cannot fail. Throws std::bad_alloc.
void ReserveConfigGroups();

/// Finds out which logs the machine has, disables the others and lists the parent group and the logs on offer.
void BuildConfigGroups();
void ClearConfigGroups();

/// Reads an item identifier (a tagIDV; of the group form only its first 12 bytes). Returns the group or type ID that it
/// names, with the instance index in `*index`; 0, with `*index` untouched, when it is invalid.
uint32_t ParseIDV(const void* identifier, uint32_t* index);

/// Handlers of SP_CONFIGGROUPS and SP_CONFIGTYPE, get.
int32_t OnGetConfigGroups(void* pArg1, void* pArg2, void* pArg3);
int32_t OnGetConfigType(void* pArg1, void* pArg2, void* pArg3);

#endif  // KESTRUNE_HOSTDATA_CATALOGUE_H_
