#include "standin/host/capture.h"

#include <set>

#include "standin/failure.h"
#include "standin/newfile.h"

namespace standin {
namespace {

constexpr int READINGS = 3;  // of a log that changes

/// The records, or none when their chain broke because the log changed.
std::optional<std::vector<SELRecord>> ReadOnce(Controller& controller, const Progress& progress) {
  controller.TakeProblem();  // an old one
  const std::optional<uint32_t> count = controller.CountEntries();
  if (!count) throw Failure(REQUEST_FAILED, controller.TakeProblem());
  std::vector<SELRecord> records;
  std::set<uint16_t> seen;
  if (*count == 0) return records;
  tagSEL_DATA entry{};
  do {
    if (!controller.ReadEntry(entry)) {
      const std::string problem = controller.TakeProblem();
      if (!problem.empty()) throw Failure(REQUEST_FAILED, problem);
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
  for (int reading = 0; reading < READINGS; ++reading) {
    if (auto records = ReadOnce(controller, progress)) return std::move(*records);
  }
  throw Failure(REQUEST_FAILED, "the controller's log changed, or its chain broke, each time it was read");
}

void SaveCapture(Controller& controller, const std::optional<std::string>& selPath,
                 const std::optional<std::string>& sensorsPath, bool overwrite, const Progress& progress) {
  std::optional<NewFile> sel, sensors;
  if (selPath) sel.emplace(*selPath, overwrite);
  if (sensorsPath) sensors.emplace(*sensorsPath, overwrite);
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
