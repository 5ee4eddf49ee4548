/// recordlog.h: a controller whose log is a list of records that is at hand.
#ifndef KESTRUNE_STANDIN_HOST_RECORDLOG_H_
#define KESTRUNE_STANDIN_HOST_RECORDLOG_H_

#include <utility>
#include <vector>

#include "standin/host/controller.h"

namespace standin {

/// Record IDs are positions in the log, counted from 1, and 0xFFFF ends it.
inline constexpr size_t MAX_SEL_RECORDS = SEL_LAST_ENTRY - 1;

class RecordLog final : public Controller {
 public:
  /// Takes at most MAX_SEL_RECORDS records, oldest first.
  RecordLog(std::vector<SELRecord> records, Sensors sensors)
      : records_(std::move(records)), sensors_(std::move(sensors)) {}

  std::optional<uint32_t> CountEntries() override { return static_cast<uint32_t>(records_.size()); }

  bool ReadEntry(tagSEL_DATA& entry) override {
    const size_t id = entry.wRecordID == 0 ? 1 : entry.wRecordID;
    if (id > records_.size()) return false;
    const size_t next = id == records_.size() ? SEL_LAST_ENTRY : id + 1;
    entry = {static_cast<uint16_t>(id), static_cast<uint16_t>(next), records_[id - 1]};
    return true;
  }

  const Sensors& GetSensors() const override { return sensors_; }

 private:
  std::vector<SELRecord> records_;
  Sensors sensors_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_RECORDLOG_H_
