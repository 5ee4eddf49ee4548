#include "standin/signals.h"

#include <signal.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace standin {
namespace {

constexpr int SHELL_SIGNAL_STATUS = 128;

/// What the thread and the rest share. Never destroyed: the thread outlives main.
struct State {
  std::mutex mutex;
  std::condition_variable noted;
  int undisturbed = 0;  ///< how many there are
  int signal = 0;
};

State& Shared() {
  static auto* const state = new State;
  return *state;
}

void Watch(sigset_t signals) {
  while (true) {
    int signal = 0;
    if (sigwait(&signals, &signal) != 0) return;
    State& state = Shared();
    const std::lock_guard lock(state.mutex);
    if (state.undisturbed == 0) EndBySignal(signal);
    if (state.signal == 0) state.signal = signal;
    state.noted.notify_all();
  }
}

}  // namespace

void WatchSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) sigaddset(&signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  // Not for this process, since a blocked signal is kept even so, but for its commands: a shell unblocks signals.
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) ::signal(signal, SIG_IGN);
  std::thread(Watch, signals).detach();
}

Undisturbed::Undisturbed() {
  const std::lock_guard lock(Shared().mutex);
  ++Shared().undisturbed;
}

Undisturbed::~Undisturbed() {
  const std::lock_guard lock(Shared().mutex);
  --Shared().undisturbed;
}

int NotedSignal() {
  const std::lock_guard lock(Shared().mutex);
  return Shared().signal;
}

void ForgetSignal() {
  const std::lock_guard lock(Shared().mutex);
  Shared().signal = 0;
}

void ThrowIfInterrupted() {
  if (const int signal = NotedSignal(); signal != 0) throw Interrupted{signal};
}

void SleepUndisturbed(std::chrono::milliseconds time) {
  std::unique_lock lock(Shared().mutex);
  Shared().noted.wait_for(lock, time, [] { return Shared().signal != 0; });
}

void EndBySignal(int signal) {
  ::signal(signal, SIG_DFL);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, signal);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  raise(signal);
  _exit(SHELL_SIGNAL_STATUS + signal);  // the first process of a namespace does not die of it
}

}  // namespace standin
