/// selfields.h: a record of the event log taken apart as the IPMI standard lays it out, for what the module's line has
/// no room for. The layout stands in platform/selrecord.h.
#ifndef KESTRUNE_STANDIN_OUTPUT_SELFIELDS_H_
#define KESTRUNE_STANDIN_OUTPUT_SELFIELDS_H_

#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "platform/selrecord.h"

namespace standin {

/// The names of the fields, in the order in which they are shown.
inline constexpr std::array SEL_FIELDS{"recordId",       "timestamp",    "preinit",   "generator", "sensorType",
                                       "sensorTypeName", "sensorNumber", "eventType", "direction", "severity",
                                       "event",          "data",         "raw"};

/// When a record was made, in seconds since 1970 in UTC; none where its controller's clock was not set then, or where
/// the record has no time.
std::optional<int64_t> RecordTime(const SELRecord& record);

/// Sets all of the fields in `item`. Those that a record does not have are null: a record whose type is a maker's own
/// has no sensor and no event, and one of a type from E0h on no time either. Without a record all are null.
void AddFields(const SELRecord* record, nlohmann::ordered_json& item);

/// "2026-08-18T10:56:35Z".
std::string FormatUTC(int64_t seconds);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_OUTPUT_SELFIELDS_H_
