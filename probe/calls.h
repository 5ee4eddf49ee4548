/// calls.h: who calls the module, and when: whether it is started, in which process and in what state, on which thread
/// and from within what.
#ifndef KESTRUNE_PROBE_CALLS_H_
#define KESTRUNE_PROBE_CALLS_H_

#include <atomic>
#include <cstdint>
#include <string>

namespace probe {

enum class State { NEVER_STARTED, STARTED, STOPPED, REFUSED };
extern std::atomic<State> state;

/// Counts the calls, to name them in findings.
uint32_t NextCall();

/// What a thread is in the middle of: how many calls of the module hold its lock, and which host function runs.
struct ThreadState {
  int lockedCalls;
  const char* hostFunction;
};
extern thread_local ThreadState threadState;

/// A call of an entry point that takes the module's lock. Looks at where it comes from and at the process, and reports
/// what is not right there.
class LockedCall {
 public:
  explicit LockedCall(const std::string& what);
  ~LockedCall();
  LockedCall(const LockedCall&) = delete;
  LockedCall& operator=(const LockedCall&) = delete;

  /// Whether the thread has the module's lock already, so that the call would never return.
  bool WouldHang() const { return wouldHang_; }

 private:
  int cancelState_ = 0;
  bool wouldHang_;
};

/// Reports a call that comes from a place from which no entry point may be called.
void CheckCaller(const std::string& what);

/// Whether this is the process that made the first call, or there was none yet.
bool IsOwnProcess();

/// Has forked children of a process that has made a call do without what its other threads held: what they free is no
/// longer looked at, and its end waits for none of them.
void PrepareForForks();

}  // namespace probe

#endif  // KESTRUNE_PROBE_CALLS_H_
