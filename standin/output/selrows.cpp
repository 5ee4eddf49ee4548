#include "standin/output/selrows.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "standin/output/selfields.h"

namespace standin {
namespace {

/// Records `begin` to `end` of a list, counted from 1.
std::vector<SELRecord> Slice(const std::vector<SELRecord>& records, size_t begin, size_t end) {
  end = std::min(end, records.size());
  if (begin > end) return {};
  return {records.begin() + static_cast<std::ptrdiff_t>(begin - 1), records.begin() + static_cast<std::ptrdiff_t>(end)};
}

/// Whether the item has the date and time of the record, as the module shows them: in UTC and without a year.
bool IsOfTime(const Row& row, const SELRecord& record) {
  const time_t time = ReadLittleEndian<uint32_t>(&record[RECORD_TIME]);
  std::tm parts{};
  std::array<char, 16> date{}, clock{};
  gmtime_r(&time, &parts);
  std::strftime(date.data(), date.size(), "%b %e", &parts);
  std::strftime(clock.data(), clock.size(), "%H:%M:%S", &parts);
  return row.fields["date"] == date.data() && row.fields["time"] == clock.data();
}

void AddRecords(std::vector<Row>& rows, const char* source, const std::vector<SELRecord>& records) {
  const auto isFrom = [&](const Row& row) { return row.fields["source"] == source; };
  auto row = std::find_if(rows.begin(), rows.end(), isFrom);
  if (static_cast<size_t>(std::count_if(row, rows.end(), isFrom)) != records.size()) return;
  for (const SELRecord& record : records) {
    if (IsOfTime(*row, record)) {
      AddFields(&record, row->fields);
      row->time = RecordTime(record);
    }
    row = std::find_if(row + 1, rows.end(), isFrom);
  }
}

}  // namespace

void AddRecords(std::vector<Row>& rows, size_t begin, size_t end, const std::vector<SELRecord>& controller,
                const std::vector<SELRecord>& archive) {
  for (Row& row : rows) AddFields(nullptr, row.fields);
  AddRecords(rows, FROM_CONTROLLER, Slice(controller, begin, end));
  const size_t before = controller.size();
  if (end <= before) return;
  std::vector<SELRecord> listed = Slice(archive, begin > before ? begin - before : 1, end - before);
  listed.erase(std::remove_if(listed.begin(), listed.end(),
                              [](const auto& record) { return record[RECORD_FORMAT] != RECORD_FORMAT_IPMI; }),
               listed.end());
  AddRecords(rows, FROM_ARCHIVE, listed);
}

}  // namespace standin
