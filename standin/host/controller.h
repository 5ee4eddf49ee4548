/// controller.h: what stands behind NUBO, the host's hardware-access module: a management controller with its event log
/// and the sensors that the log's records name. This is all that NUBO's functions in the process (host.cpp) know of it.
#ifndef KESTRUNE_STANDIN_HOST_CONTROLLER_H_
#define KESTRUNE_STANDIN_HOST_CONTROLLER_H_

#include <cstdint>
#include <optional>
#include <string>

#include "platform/nubo.h"
#include "standin/host/sensors.h"

namespace standin {

/// What tells whether a log has changed: its number of entries, and when one was last added and the log last erased, in
/// the controller's own time, where it keeps that.
struct LogState {
  uint32_t entries = 0;
  uint32_t addition = 0;
  uint32_t erasure = 0;

  bool operator==(const LogState&) const = default;
};

/// Modules call from any thread, but one call at a time.
class Controller {
 public:
  Controller() = default;
  Controller(const Controller&) = delete;
  Controller& operator=(const Controller&) = delete;
  virtual ~Controller() = default;

  /// Whether there is a controller at all. Modules ask for nothing else where there is none.
  virtual bool IsPresent() { return true; }

  /// The number of entries in the log, or none when the controller does not answer.
  virtual std::optional<uint32_t> CountEntries() = 0;

  /// The same with what else tells a change, for whoever waits for one. Costs no more than the number.
  virtual std::optional<LogState> GetLogState() {
    const auto entries = CountEntries();
    return entries ? std::optional(LogState{*entries}) : std::nullopt;
  }

  /// Reads the entry that `entry.wRecordID` names, 0 for the first: stores its ID, the ID of the entry that follows
  /// (SEL_LAST_ENTRY when none does) and its record. Returns false, with `entry` as it was, when there is no such entry
  /// or the controller does not answer.
  virtual bool ReadEntry(tagSEL_DATA& entry) = 0;

  /// Why the controller did not answer when it was last asked in vain, in one line. Empty when that did not happen
  /// since the last call of this; an entry that is not there is an answer.
  virtual std::string TakeProblem() { return {}; }

  /// The sensors, the same ones as long as the controller lives.
  virtual const Sensors& GetSensors() const = 0;
};

/// A machine without a controller.
class NoController final : public Controller {
 public:
  bool IsPresent() override { return false; }
  std::optional<uint32_t> CountEntries() override { return std::nullopt; }
  bool ReadEntry(tagSEL_DATA&) override { return false; }
  const Sensors& GetSensors() const override { return sensors_; }

 private:
  Sensors sensors_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_CONTROLLER_H_
