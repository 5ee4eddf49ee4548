/// followstate.h: where a follower of the event log stands, kept in a file over its end.
///
/// The file is JSON: the newest record that was handed on, by its record ID and time, for whoever looks; the newest
/// records with their bytes, as hexadecimal digits, newest first; the newest of those that came from the
/// archive, by which it is known again when the controller's log was cleared meanwhile; and a digest of both.
#ifndef KESTRUNE_STANDIN_FOLLOW_FOLLOWSTATE_H_
#define KESTRUNE_STANDIN_FOLLOW_FOLLOWSTATE_H_

#include <optional>
#include <string>

#include "standin/follow/newitems.h"
#include "standin/output/table.h"

namespace standin {

class FollowState {
 public:
  /// `path` is the file.
  explicit FollowState(std::string path) : path_(std::move(path)) {}
  ~FollowState();
  FollowState(const FollowState&) = delete;
  FollowState& operator=(const FollowState&) = delete;

  /// Keeps others from the file while this lives: two of them would send everything twice. Throws Failure when somebody
  /// else has it. The lock is a file beside it, PATH.lock, which stays.
  void Lock();

  /// Reads the file. Returns false when there is none. One that is broken is renamed, which `note` tells, and counts as
  /// none. Throws Failure when it cannot be read at all.
  bool Read(std::string& note);

  /// The keys of the records that were handed on, newest first, followed by the archive's newest ones.
  Keys Records() const;

  /// Notes that a record was handed on.
  void Add(const Row& row);

  /// Writes the file onto the disk, anew and whole, readable for its owner alone. Throws Failure.
  void Write() const;

 private:
  std::string path_;
  int lock_ = -1;
  Keys records_;
  Keys archived_;  ///< the archive's newest ones, enough to know it again
  nlohmann::ordered_json newest_ = nlohmann::ordered_json::object();
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_FOLLOWSTATE_H_
