/// timeline.h: what is shown of the logs: one of them or all in one timeline, all of their records or some.
#ifndef KESTRUNE_STANDIN_TIMELINE_H_
#define KESTRUNE_STANDIN_TIMELINE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "standin/requests.h"

namespace standin {

/// Stands for all logs where a log's ID is given.
inline constexpr uint16_t LOG_ALL = 0;

/// Which records are shown. A record without a time of its own counts as made when the next one of its log was that has
/// one, else when the last one before it was.
struct View {
  std::optional<int64_t> since;  ///< seconds since 1970
  std::optional<int64_t> until;
  std::vector<int64_t> sensorTypes;     ///< any when there is none; else records of the event log alone
  std::vector<std::string> severities;  ///< the same
  bool isReversed = false;              ///< oldest first
};

/// The columns in which records of all logs stand below each other.
std::vector<Column> TimelineColumns();

/// The records of a log, or of all that the module offers as one timeline; `lines` counts those of the view, from the
/// newest. Throws Failure.
Table ReadView(const Module& module, uint16_t log, const std::optional<Lines>& lines, const View& view,
               const RecordKeeper& keeper);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_TIMELINE_H_
