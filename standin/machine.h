/// machine.h: the machine that the stand-in host pretends to run on. The functions that it exports to modules answer
/// from this description (agent.cpp, controller.cpp).
#ifndef KESTRUNE_STANDIN_MACHINE_H_
#define KESTRUNE_STANDIN_MACHINE_H_

#include <optional>
#include <string>
#include <vector>

#include "platform/nubo.h"
#include "standin/sensors.h"

namespace standin {

/// Record IDs are positions in the log, counted from 1, and 0xFFFF ends it.
inline constexpr size_t kMaxSelRecords = SEL_LAST_ENTRY - 1;

struct Machine {
  bool verbose = false;                       ///< show what modules send to Output on standard error
  int distribution = 0;                       ///< what GetOSDist answers
  std::optional<std::vector<SELRecord>> sel;  ///< the controller's log, oldest record first; none: no controller
  Sensors sensors;
};

/// Filled in before a module is started, left alone from then on.
extern Machine machine;

/// The newest message of level OUTPUT_ERROR, without its newline; empty when there was none.
std::string LastError();

}  // namespace standin

#endif  // KESTRUNE_STANDIN_MACHINE_H_
