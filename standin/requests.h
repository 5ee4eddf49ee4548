/// requests.h: what the host asks of a module: the catalogue, the records of a log, messages, settings.
#ifndef KESTRUNE_STANDIN_REQUESTS_H_
#define KESTRUNE_STANDIN_REQUESTS_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "standin/host/module.h"
#include "standin/host/recordkeeper.h"
#include "standin/output/table.h"

namespace standin {

struct LogName {
  const char* name;
  uint16_t id;
};

/// The logs of the catalogue, in the order of their numbers 1 to 5.
inline constexpr std::array<LogName, 5> LOGS{{{"application", LOG_APPLICATION},
                                              {"secure", LOG_SECURE},
                                              {"messages", LOG_MESSAGES},
                                              {"agent", LOG_AGENT},
                                              {"sel", LOG_SEL}}};

/// The name of the log with this ID.
std::string LogTitle(uint16_t id);

/// The columns of a text log and of the event log. Those of the records' fields that a line has room for are shown.
extern const std::vector<Column> TEXT_COLUMNS;
extern const std::vector<Column> SEL_COLUMNS;

/// Records of a log, counted from 1, both ends included.
struct Lines {
  uint32_t begin;
  uint32_t end;
};

// All of these throw Failure when the module refuses a request.

/// Starts the module with the host's settings: no repeated events, an update interval of 5000.
void Start(const Module& module);

/// The row of a log in their list: name, ID, records.
Row DescribeLog(const LogName& log, int64_t records);

/// The logs that the module offers.
Table ListLogs(const Module& module);

/// Whether the module offers this log.
bool OffersLog(const Module& module, uint16_t id);

/// The number of records of a log.
uint32_t CountRecords(const Module& module, uint16_t id);

/// The records of a log, newest first, all of them or some. `keeper` is the host's controller, which has kept the event
/// log's records.
Table ReadLog(const Module& module, uint16_t id, const std::optional<Lines>& lines, const RecordKeeper& keeper);

/// Has the module write a message to the system log.
void WriteMessage(const Module& module, uint32_t level, const std::wstring& text);

/// The settings word and what the module makes of it.
Table ReadSettings(const Module& module);

void WriteSettings(const Module& module, uint64_t word);

/// Has the module print the controller's log.
void DumpControllerLog(const Module& module);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_REQUESTS_H_
