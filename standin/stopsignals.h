/// stopsignals.h: the signals that end a command which would go on for ever, at a moment when it can be ended.
#ifndef KESTRUNE_STANDIN_STOPSIGNALS_H_
#define KESTRUNE_STANDIN_STOPSIGNALS_H_

#include <atomic>
#include <chrono>
#include <thread>

namespace standin {

/// While this lives, SIGINT, SIGTERM and SIGHUP are held back from the process and noted. A thread of its own waits for
/// them: the C library's way to run commands has the process ignore SIGINT meanwhile, and one noted later would be
/// lost.
class StopSignals {
 public:
  /// To be made before any other thread.
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  bool IsStopped() const { return isStopped_; }

  /// Waits as long, or until it is stopped; or until nobody reads standard output any more, if `watchOutput`. Returns
  /// whether to go on.
  bool Wait(std::chrono::milliseconds time, bool watchOutput);

 private:
  std::atomic<bool> isStopped_ = false;
  int event_;
  std::thread thread_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_STOPSIGNALS_H_
