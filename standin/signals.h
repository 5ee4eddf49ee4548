/// signals.h: SIGTERM, SIGINT and SIGHUP, which let what is under way come to its end where a module would leave files.
///
/// They are taken by a thread of their own, and ignored by the commands that the module runs: a terminal sends its
/// interrupt to these too, and a request whose commands die is not answered.
#ifndef KESTRUNE_STANDIN_SIGNALS_H_
#define KESTRUNE_STANDIN_SIGNALS_H_

#include <chrono>

namespace standin {

/// To be called once, before the process has other threads. A signal that is ignored stays so.
void WatchSignals();

/// While one lives, a signal is noted; without one, it ends the process at once.
class Undisturbed {
 public:
  Undisturbed();
  ~Undisturbed();
  Undisturbed(const Undisturbed&) = delete;
  Undisturbed& operator=(const Undisturbed&) = delete;
};

/// Thrown where the work is given up because of a signal.
struct Interrupted {
  int signal;
};

/// The signal that was noted first, or 0.
int NotedSignal();

/// Forgets it.
void ForgetSignal();

/// Throws Interrupted when a signal was noted.
void ThrowIfInterrupted();

/// Sleeps, until a signal is noted at the longest.
void SleepUndisturbed(std::chrono::milliseconds time);

/// Ends the process as this signal does when nobody takes it.
[[noreturn]] void EndBySignal(int signal);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_SIGNALS_H_
