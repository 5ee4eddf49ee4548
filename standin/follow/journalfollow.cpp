#include "standin/follow/journalfollow.h"

#include <systemd/sd-daemon.h>

#include <algorithm>
#include <deque>
#include <iterator>

#include "standin/diagnosis.h"
#include "standin/failure.h"
#include "standin/follow/followedmodule.h"
#include "standin/follow/followstate.h"
#include "standin/follow/journal.h"
#include "standin/follow/journalfields.h"
#include "standin/follow/notice.h"
#include "standin/follow/selfollower.h"
#include "standin/signals.h"

namespace standin {
namespace {

/// Records that are sent before the state is written: at most these are sent again after a kill.
constexpr size_t BATCH = 100;

/// Records on their way to the journal.
class JournalQueue {
 public:
  explicit JournalQueue(FollowState& state) : state_(state) {}

  void Add(std::vector<Row> rows) {
    rows_.insert(rows_.end(), std::make_move_iterator(rows.begin()), std::make_move_iterator(rows.end()));
  }

  /// Sends as much as the journal takes, until a signal comes. What is left is sent another time.
  void Send() {
    while (NotedSignal() == 0 && !rows_.empty() && SendBatch()) {
    }
  }

 private:
  bool SendBatch() {
    if (sent_ == 0) {
      // Whoever answers for the entries must be there before they are sent.
      if (const JournalSync sync = journal_.Open(); sync != JournalSync::DONE) return PutOff(sync);
      for (; sent_ < std::min(BATCH, rows_.size()); ++sent_) {
        if (!journal_.Send(JournalFields(rows_[sent_]))) return PutOff(JournalSync::GONE);
      }
    }
    if (const JournalSync sync = journal_.Synchronize(); sync != JournalSync::DONE) return PutOff(sync);
    notice_.Say("");
    for (; sent_ > 0; --sent_) {
      state_.Add(rows_.front());
      rows_.pop_front();
    }
    state_.Write();
    return true;
  }

  /// Says what there is to wait for. Returns false.
  bool PutOff(JournalSync sync) {
    const bool isGone = sync == JournalSync::GONE;
    if (isGone) sent_ = 0;  // it took them with it
    notice_.Say(isGone ? "the journal is not there; waiting for it" : "the journal does not answer; waiting for it");
    return false;
  }

  FollowState& state_;
  Journal journal_;
  std::deque<Row> rows_;
  size_t sent_ = 0;  ///< the first ones, a whole batch: not known to be in the journal yet
  Notice notice_;
};

/// Waits, and tells the service manager meanwhile that this process lives. Returns whether to go on.
bool Wait(std::chrono::milliseconds time) {
  uint64_t watchdog = 0;
  const bool isWatched = sd_watchdog_enabled(0, &watchdog) > 0;
  const std::chrono::milliseconds slice = isWatched ? std::chrono::milliseconds(1 + watchdog / 2000) : time;
  for (; time.count() > 0 && NotedSignal() == 0; time -= slice) {
    sd_notify(0, "WATCHDOG=1");
    SleepUndisturbed(std::min(slice, time));
  }
  return NotedSignal() == 0;
}

}  // namespace

void FollowToJournal(const JournalOptions& options, Session& session) {
  FollowedModule module(session);
  if (!OffersLog(session.GetModule(), LOG_SEL)) {
    throw Failure(REQUEST_FAILED, "this log is not offered: " + WhyMissing(LOG_SEL));
  }
  FollowState state(options.state);
  state.Lock();
  std::string broken;
  const bool isKnown = state.Read(broken);
  Notice().Say(broken);
  SELFollower follower(module);
  follower.Resume(state.Records());
  sd_notify(0, "READY=1");
  if (!isKnown && options.fromNow && broken.empty()) {
    do {
      for (const Row& row : follower.TakeNew()) state.Add(row);
    } while (!follower.HasListed() && Wait(options.interval));
    if (!follower.HasListed()) return;  // a state file would say that there is nothing to be skipped
  }
  state.Write();  // before anything is sent: where it cannot be written, everything would be sent again and again
  JournalQueue queue(state);
  do {
    queue.Add(follower.TakeNew());
    queue.Send();
  } while (Wait(options.interval));
  sd_notify(0, "STOPPING=1");
}

}  // namespace standin
