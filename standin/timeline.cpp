#include "standin/timeline.h"

#include <algorithm>
#include <cstdio>

#include "standin/output/selfields.h"

namespace standin {
namespace {

/// Gives the records of one log, newest first, that have no time that of their neighbours.
void FillTimes(std::vector<Row>& rows) {
  std::optional<int64_t> last;
  const auto fill = [&last](Row& row) {
    if (row.time) last = row.time;
    row.time = last;
  };
  std::for_each(rows.begin(), rows.end(), fill);
  last.reset();
  std::for_each(rows.rbegin(), rows.rend(), fill);
}

bool IsWanted(const Row& row, const View& view) {
  const auto isListed = [&row](const auto& values, const char* field) {
    const auto value = row.fields.find(field);
    return values.empty() ||
           (value != row.fields.end() && std::find(values.begin(), values.end(), *value) != values.end());
  };
  if ((view.since && (!row.time || *row.time < *view.since)) ||
      (view.until && (!row.time || *row.time > *view.until))) {
    return false;
  }
  return isListed(view.sensorTypes, "sensorType") && isListed(view.severities, "severity");
}

/// Notes that records are left out because they have no time and no neighbour with one.
void NoteWithoutTime(const std::vector<Row>& rows, const View& view, uint16_t log) {
  if (!view.since && !view.until) return;
  const auto count = std::count_if(rows.begin(), rows.end(), [](const Row& row) { return !row.time; });
  if (count == 0) return;
  std::fprintf(stderr, "note: %s: records left out, since their times are not known: %td\n", LogTitle(log).c_str(),
               count);
}

void KeepLines(std::vector<Row>& rows, const Lines& lines) {
  rows.resize(std::min<size_t>(rows.size(), lines.end));
  rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(std::min<size_t>(rows.size(), lines.begin - 1)));
}

}  // namespace

// A line shows the sensor of a record as its source, and the description as its message.
std::vector<Column> TimelineColumns() {
  std::vector<Column> columns{{"log"},
                              {"timestamp", false},
                              {"date"},
                              {"time"},
                              {"host", false},
                              {"sensor", false},
                              {"description", false},
                              {"source", true, true, false, "sensor"},
                              {"message", true, true, true, "description"}};
  for (const std::string_view field : SEL_FIELDS) {
    if (field != "timestamp") columns.push_back({field.data(), field == "direction"});
  }
  return columns;
}

Table ReadView(const Module& module, uint16_t log, const std::optional<Lines>& lines, const View& view,
               const RecordKeeper& keeper) {
  const bool isFiltered = view.since || view.until || !view.sensorTypes.empty() || !view.severities.empty();
  // A module can find some of its newest records faster than all of them.
  const bool asksForLines = log != LOG_ALL && !isFiltered;
  Table table;
  for (const LogName& each : LOGS) {
    if (log == LOG_ALL ? !OffersLog(module, each.id) : log != each.id) continue;
    Table one = ReadLog(module, each.id, asksForLines ? lines : std::nullopt, keeper);
    FillTimes(one.rows);
    NoteWithoutTime(one.rows, view, each.id);
    table.columns = std::move(one.columns);
    std::move(one.rows.begin(), one.rows.end(), std::back_inserter(table.rows));
  }
  if (log == LOG_ALL) {
    table.columns = TimelineColumns();
    std::stable_sort(table.rows.begin(), table.rows.end(),
                     [](const Row& one, const Row& other) { return one.time > other.time; });
  }
  table.rows.erase(
      std::remove_if(table.rows.begin(), table.rows.end(), [&view](const Row& row) { return !IsWanted(row, view); }),
      table.rows.end());
  if (lines && !asksForLines) KeepLines(table.rows, *lines);
  if (view.isReversed) std::reverse(table.rows.begin(), table.rows.end());
  return table;
}

}  // namespace standin
