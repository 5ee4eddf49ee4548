/// recordkeeper.h: kestrune-host's own copy of the records behind the module's items. An item of the event log is a
/// line of text; what else its record tells is looked up here.
#ifndef KESTRUNE_STANDIN_HOST_RECORDKEEPER_H_
#define KESTRUNE_STANDIN_HOST_RECORDKEEPER_H_

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "standin/host/controller.h"
#include "standin/host/progress.h"

namespace standin {

/// A controller in front of another one: it hands on what that one answers, and keeps the entries that a module was
/// given for its cache, so that nothing is read twice. A module reads the log along its chain. Later it reads the first
/// entry again to see whether the log is still the same, and the last one to learn what follows; of these nothing is
/// kept.
class RecordKeeper final : public Controller {
 public:
  /// `controller` is not owned. `progress`, if any, is told of each entry that is kept.
  explicit RecordKeeper(Controller& controller, Progress progress = {})
      : controller_(controller), progress_(std::move(progress)) {}

  bool IsPresent() override { return controller_.IsPresent(); }
  std::optional<uint32_t> CountEntries() override;
  std::optional<LogState> GetLogState() override { return controller_.GetLogState(); }
  bool ReadEntry(tagSEL_DATA& entry) override;
  std::string TakeProblem() override { return controller_.TakeProblem(); }
  const Sensors& GetSensors() const override { return controller_.GetSensors(); }

  /// To be called when a module is loaded anew, whose cache is empty.
  void Forget() {
    entries_.clear();
    next_.reset();
  }

  /// The number of records in the module's cache.
  size_t Size() const { return entries_.size(); }

  /// The records in the module's cache, newest first.
  std::vector<SELRecord> NewestFirst() const;

 private:
  Controller& controller_;
  Progress progress_;
  size_t announced_ = 0;  ///< entries, when they were last counted
  std::vector<tagSEL_DATA> entries_;
  bool hasShrunk_ = false;
  std::optional<uint16_t> next_;  ///< the entry that follows them, where the module has just been told
};

/// The records of the SEL log file, newest first, or none when it is missing or is no such file. Those that modules
/// leave out of their lists are among them.
std::vector<SELRecord> ReadArchive();

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_RECORDKEEPER_H_
