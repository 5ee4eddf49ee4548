/// follow.h: the sub-command `follow`: records of logs as they come.
#ifndef KESTRUNE_STANDIN_FOLLOW_FOLLOW_H_
#define KESTRUNE_STANDIN_FOLLOW_FOLLOW_H_

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace standin {

class Session;

struct FollowOptions {
  std::vector<uint16_t> logs;  ///< all that the module offers when there is none
  uint32_t newest = 0;         ///< records shown first
  std::chrono::seconds interval{5};
  std::string format = "table";
  std::vector<std::string> columns;  ///< those of the logs when there is none
};

/// Shows the newest records of the logs and then each new one until a signal ends it. Throws Failure, also for a log
/// that the module does not offer.
void Follow(const FollowOptions& options, Session& session);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_FOLLOW_H_
