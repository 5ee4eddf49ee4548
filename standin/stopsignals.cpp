#include "standin/stopsignals.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cstdint>

namespace standin {
namespace {

sigset_t Signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int each : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, each);
  return signals;
}

}  // namespace

// The signals stay held back at the end, when the module is stopped: what comes then would leave its files.
StopSignals::StopSignals() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  const sigset_t signals = Signals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  thread_ = std::thread([this, signals] {
    int signal = 0;
    sigwait(&signals, &signal);
    isStopped_ = true;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(event_, &one, sizeof(one));
  });
}

StopSignals::~StopSignals() {
  if (!isStopped_) pthread_kill(thread_.native_handle(), SIGTERM);
  thread_.join();
  close(event_);
}

bool StopSignals::Wait(std::chrono::milliseconds time, bool watchOutput) {
  std::array<pollfd, 2> watched{{{event_, POLLIN, 0}, {watchOutput ? STDOUT_FILENO : -1, 0, 0}}};
  poll(watched.data(), watched.size(), static_cast<int>(time.count()));
  return !isStopped_ && (watched[1].revents & (POLLERR | POLLHUP)) == 0;
}

}  // namespace standin
