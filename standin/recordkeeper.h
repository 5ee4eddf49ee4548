/// recordkeeper.h: kestrune-host's own copy of the records behind the module's items. An item of the event log is a
/// line of text; what else its record tells is looked up here.
#ifndef KESTRUNE_STANDIN_RECORDKEEPER_H_
#define KESTRUNE_STANDIN_RECORDKEEPER_H_

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "standin/controller.h"

namespace standin {

/// A controller in front of another one: it hands on what that one answers, and keeps the entries that modules have
/// been given, so that nothing is read twice.
class RecordKeeper final : public Controller {
 public:
  /// `controller` is not owned.
  explicit RecordKeeper(Controller& controller) : controller_(controller) {}

  bool IsPresent() override { return controller_.IsPresent(); }
  std::optional<uint32_t> CountEntries() override;
  std::optional<LogState> GetLogState() override { return controller_.GetLogState(); }
  bool ReadEntry(tagSEL_DATA& entry) override;
  std::string TakeProblem() override { return controller_.TakeProblem(); }
  const Sensors& GetSensors() const override { return controller_.GetSensors(); }

  /// The records of the log as it was last read, newest first: as the entries chain each other, from the first one on
  /// as far as they were read.
  std::vector<SELRecord> NewestFirst() const;

 private:
  Controller& controller_;
  std::map<uint16_t, tagSEL_DATA> entries_;  ///< by the IDs that they are asked for by
  std::optional<tagSEL_DATA> first_;
};

/// The records of the SEL log file, newest first, or none when it is missing or is no such file. Those that modules
/// leave out of their lists are among them.
std::vector<SELRecord> ReadArchive();

}  // namespace standin

#endif  // KESTRUNE_STANDIN_RECORDKEEPER_H_
