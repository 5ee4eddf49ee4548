/// journalfollow.h: the sub-command `follow sel --to journal`: each record of the event log as an entry of the journal,
/// once, whatever ends in between.
#ifndef KESTRUNE_STANDIN_FOLLOW_JOURNALFOLLOW_H_
#define KESTRUNE_STANDIN_FOLLOW_JOURNALFOLLOW_H_

#include <chrono>
#include <string>

namespace standin {

class Session;

struct JournalOptions {
  std::string state = "/var/lib/kestrune-sel/state.json";
  bool fromNow = false;  ///< without a state file, what the log holds is not sent
  std::chrono::seconds interval{10};
};

/// Sends what the state file does not know and then each new record, until a signal ends it. Where it stands is written
/// once the journal has what was sent. Tells the service manager that it is ready, and that it lives. Throws Failure.
void FollowToJournal(const JournalOptions& options, Session& session);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_JOURNALFOLLOW_H_
