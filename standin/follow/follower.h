/// follower.h: a log that is looked at from time to time.
#ifndef KESTRUNE_STANDIN_FOLLOW_FOLLOWER_H_
#define KESTRUNE_STANDIN_FOLLOW_FOLLOWER_H_

#include <cstdint>
#include <vector>

#include "standin/output/table.h"

namespace standin {

class Follower {
 public:
  Follower() = default;
  Follower(const Follower&) = delete;
  Follower& operator=(const Follower&) = delete;
  virtual ~Follower() = default;

  // Both return records oldest first, and throw Failure when the module refuses a request.

  /// Looks at the log for the first time. Returns its newest records, at most as many as asked for.
  virtual std::vector<Row> Start(uint32_t newest) = 0;

  /// Returns what has come since the last look. A look that finds the log in the middle of a change returns nothing;
  /// the next one has it all. A log that did not change costs no request.
  virtual std::vector<Row> TakeNew() = 0;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_FOLLOWER_H_
