/// ipmicontroller.h: a management controller that speaks IPMI, as modules see it: its event log and its sensors.
#ifndef KESTRUNE_STANDIN_IPMI_IPMICONTROLLER_H_
#define KESTRUNE_STANDIN_IPMI_IPMICONTROLLER_H_

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "standin/host/controller.h"
#include "standin/host/progress.h"
#include "standin/ipmi/ipmitransport.h"

namespace standin {

class IPMIController : public Controller {
 public:
  /// Looks at the event log and reads the sensors. Throws Failure.
  explicit IPMIController(std::unique_ptr<IPMITransport> transport, const Progress& progress = {});

  /// One command to the controller.
  std::optional<uint32_t> CountEntries() override;

  /// The same command.
  std::optional<LogState> GetLogState() override;

  /// One command to the controller. Record IDs are the controller's own.
  bool ReadEntry(tagSEL_DATA& entry) override;

  /// They are numbered by their places, from 1.
  const Sensors& GetSensors() const override { return sensors_; }

  /// What the sensors lack, or which were left out.
  const std::vector<std::string>& Notes() const { return notes_; }

  std::string TakeProblem() override { return std::exchange(problem_, {}); }

 private:
  LogState AskForState();
  void AddSensors(const Sensors& sensors);

  std::unique_ptr<IPMITransport> transport_;
  Sensors sensors_;
  std::vector<std::string> notes_;
  std::string problem_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_IPMI_IPMICONTROLLER_H_
