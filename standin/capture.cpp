#include "standin/capture.h"

#include <set>

#include "standin/failure.h"
#include "standin/newfile.h"

namespace standin {
namespace {

constexpr int kReadings = 3;  // of a log that changes

/// The records, or none when their chain broke because the log changed.
std::optional<std::vector<SELRecord>> ReadOnce(Controller& controller, const Progress& progress) {
  controller.TakeProblem();  // an old one
  const std::optional<uint32_t> count = controller.CountEntries();
  if (!count) throw Failure(kRequestFailed, controller.TakeProblem());
  std::vector<SELRecord> records;
  std::set<uint16_t> seen;
  if (*count == 0) return records;
  tagSEL_DATA entry{};
  do {
    if (!controller.ReadEntry(entry)) {
      const std::string problem = controller.TakeProblem();
      if (!problem.empty()) throw Failure(kRequestFailed, problem);
      return std::nullopt;
    }
    if (!seen.insert(entry.wRecordID).second) return std::nullopt;
    records.push_back(entry.abyRecord);
    if (progress) progress(records.size(), *count);
    entry.wRecordID = entry.wNextRecordID;
  } while (entry.wRecordID != SEL_LAST_ENTRY);
  return records;
}

}  // namespace

std::vector<SELRecord> ReadWholeLog(Controller& controller, const Progress& progress) {
  for (int reading = 0; reading < kReadings; ++reading) {
    if (auto records = ReadOnce(controller, progress)) return std::move(*records);
  }
  throw Failure(kRequestFailed, "the controller's log changed, or its chain broke, each time it was read");
}

void SaveCapture(Controller& controller, const std::optional<std::string>& sel_path,
                 const std::optional<std::string>& sensors_path, bool overwrite, const Progress& progress) {
  std::optional<NewFile> sel, sensors;
  if (sel_path) sel.emplace(*sel_path, overwrite);
  if (sensors_path) sensors.emplace(*sensors_path, overwrite);
  if (sel) {
    std::string raw;
    for (const SELRecord& record : ReadWholeLog(controller, progress)) raw.append(record.begin(), record.end());
    sel->Write(raw);
  }
  if (sensors) {
    sensors->Write(DescribeSensors(controller.GetSensors()));
    sensors->Commit();
  }
  if (sel) sel->Commit();
}

}  // namespace standin
