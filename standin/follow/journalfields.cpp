#include "standin/follow/journalfields.h"

#include <syslog.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace standin {
namespace {

/// The priority by the severity of the event; a deassertion is information.
constexpr struct {
  const char* severity;
  int priority;
} PRIORITIES[] = {
    {"non-recoverable", LOG_CRIT},  //
    {"critical", LOG_ERR},          //
    {"non-critical", LOG_WARNING},  //
    {"failure", LOG_WARNING},       //
};

constexpr struct {
  const char* name;
  const char* field;
} FIELDS[] = {
    {"SEL_RECORD_ID", "recordId"},
    {"SEL_SENSOR", "sensor"},
    {"SEL_SENSOR_NUMBER", "sensorNumber"},
    {"SEL_SENSOR_TYPE", "sensorTypeName"},
    {"SEL_EVENT_TYPE", "eventType"},
    {"SEL_EVENT", "event"},
    {"SEL_DIRECTION", "direction"},
    {"SEL_SEVERITY", "severity"},
    {"SEL_ORIGIN", "source"},
    {"SEL_RAW", "raw"},
};

/// The field as text; empty for one that the record does not have.
std::string Text(const Row& row, const char* field) {
  const auto found = row.fields.find(field);
  if (found == row.fields.end() || found->is_null()) return {};
  return found->is_string() ? found->get<std::string>() : found->dump();
}

int PriorityOf(const Row& row) {
  const std::string severity = Text(row, "severity");
  const auto* const found = std::find_if(std::begin(PRIORITIES), std::end(PRIORITIES),
                                         [&](const auto& each) { return each.severity == severity; });
  return found == std::end(PRIORITIES) ? LOG_INFO : found->priority;
}

std::string TimeOf(const Row& row) {
  const std::string preinit = Text(row, "preinit");
  if (!preinit.empty()) return "preinit " + preinit;
  const std::string timestamp = Text(row, "timestamp");
  return timestamp.empty() ? "unspecified" : timestamp;
}

}  // namespace

std::vector<std::string> JournalFields(const Row& row) {
  std::vector<std::string> fields;
  const auto add = [&fields](std::string_view name, std::string_view text) {
    if (!text.empty()) fields.push_back(std::string(name).append("=").append(text));
  };
  add("MESSAGE", Text(row, "sensor") + ": " + Text(row, "description"));
  add("PRIORITY", std::to_string(PriorityOf(row)));
  add("SYSLOG_IDENTIFIER", "kestrune-sel");
  add("MESSAGE_ID", SEL_MESSAGE_ID);
  add("SEL_TIME", TimeOf(row));
  for (const auto& [name, field] : FIELDS) add(name, Text(row, field));
  return fields;
}

}  // namespace standin
