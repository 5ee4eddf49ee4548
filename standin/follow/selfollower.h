/// selfollower.h: the event log that grows, is cleared, wraps round or moves into the archive: its new records, each
/// once.
#ifndef KESTRUNE_STANDIN_FOLLOW_SELFOLLOWER_H_
#define KESTRUNE_STANDIN_FOLLOW_SELFOLLOWER_H_

#include <optional>
#include <string>
#include <vector>

#include "standin/follow/followedmodule.h"
#include "standin/follow/follower.h"
#include "standin/follow/newitems.h"
#include "standin/follow/notice.h"
#include "standin/logfiles.h"

namespace standin {

class SELFollower final : public Follower {
 public:
  /// `module` is not owned.
  explicit SELFollower(FollowedModule& module) : module_(module) {}

  /// What is known of a record, and says which one it is.
  static std::string KeyOf(const Row& row);

  std::vector<Row> Start(uint32_t newest) override;

  /// Starts where another process ended: `seen` are the keys of the records that it had, newest first.
  void Resume(Keys seen) { seen_ = std::move(seen); }

  std::vector<Row> TakeNew() override;

  /// Whether the last look was not in vain: the log was listed as it stood.
  bool HasListed() const { return last_.has_value(); }

 private:
  /// What the list was made of.
  struct Sources {
    LogState controller;
    FileState archive;

    bool operator==(const Sources&) const = default;
  };

  std::optional<Sources> Look();
  bool IsStale(const LogState& controller) const;
  bool IsLastKnown();
  std::vector<Row> ListNew(uint32_t count);
  bool IsWhole(const std::vector<Row>& rows, uint32_t entries);

  FollowedModule& module_;
  Keys seen_;
  std::optional<Sources> last_;    ///< none while there is more to be listed than was
  std::optional<LogState> asked_;  ///< the controller's log when the module last read it, also in vain
  bool mayHideMore_ = false;       ///< whether a record may have come that changed nothing of `last_`
  uint32_t lastCount_ = 0;
  int looksInVain_ = 0;
  Notice notice_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_SELFOLLOWER_H_
