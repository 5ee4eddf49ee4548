/// textfollower.h: a text log that grows, is rotated or cleared: its new lines, each once.
#ifndef KESTRUNE_STANDIN_FOLLOW_TEXTFOLLOWER_H_
#define KESTRUNE_STANDIN_FOLLOW_TEXTFOLLOWER_H_

#include <cstdint>
#include <string>
#include <vector>

#include "standin/follow/followedmodule.h"
#include "standin/follow/follower.h"
#include "standin/follow/newitems.h"
#include "standin/logfiles.h"

namespace standin {

/// The lines of one file are listed by ranges that count from its end, so that the number of lines tells which are new.
/// Where it does not (a log longer than what a module looks at, the application log, whose files are merged), the whole
/// list is compared with the one before. What a rotation took away before it was looked at is not listed any more.
class TextFollower final : public Follower {
 public:
  /// `module` is not owned.
  TextFollower(FollowedModule& module, uint16_t log) : module_(module), log_(log) {}

  std::vector<Row> Start(uint32_t newest) override;
  std::vector<Row> TakeNew() override;

 private:
  struct Snapshot {
    std::vector<FileState> files;
    uint32_t lines = 0;
  };

  bool TakeSnapshot(Snapshot& snapshot);
  bool NeedsComparison(uint32_t lines) const;
  std::vector<Row> ReadNewest(uint32_t begin, uint32_t end) const;
  std::vector<Row> Compare(uint32_t lines, uint32_t enough);

  FollowedModule& module_;
  uint16_t log_;
  Snapshot last_;
  SeenLines seen_;
  bool isCompared_ = false;    ///< whether `seen_` holds the lines of `last_`
  bool isWrittenYet_ = false;  ///< whether the log was being written in the second of the last snapshot
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_TEXTFOLLOWER_H_
