#include "probe/watch.h"

#include <pthread.h>
#include <signal.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "probe/calls.h"
#include "probe/findings.h"
#include "probe/hostfunctions.h"
#include "probe/memory.h"

namespace probe {
namespace {

using Clock = std::chrono::steady_clock;

/// A running call. Threads that find no place are not watched.
struct Place {
  std::atomic<const char*> name;
  std::atomic<Clock::rep> begin;
};
std::array<Place, 32> places;

/// The thread that watches, and what it waits for.
struct Watcher {
  std::mutex mutex;
  std::condition_variable condition;
  bool isEnding = false;  // guarded by the mutex
  std::thread thread;
};
std::mutex currentMutex;
std::unique_ptr<Watcher> current;  // guarded by currentMutex

std::chrono::milliseconds Limit() {
  const char* text = getenv("KESTRUNE_PROBE_LIMIT");
  const double seconds = text == nullptr ? 0 : strtod(text, nullptr);
  return std::chrono::milliseconds(seconds > 0 ? static_cast<int64_t>(seconds * 1000) : 5000);
}

void ReportSlow(const char* name, std::chrono::milliseconds limit) {
  Report(Rule::FUNCTION_SLOW, std::string(name) + " had not come back after " + std::to_string(limit.count()) + " ms");
}

void Watch(Watcher& watcher, std::chrono::milliseconds limit) {
  const OwnWork own;
  std::unique_lock lock(watcher.mutex);
  while (!watcher.condition.wait_for(lock, limit / 4, [&] { return watcher.isEnding; })) {
    const Clock::rep latest = (Clock::now() - limit).time_since_epoch().count();
    for (Place& place : places) {
      const char* name = place.name;
      if (name != nullptr && place.begin < latest) ReportSlow(name, limit);
    }
  }
}

}  // namespace

HostCall::HostCall(const char* name) : before_(threadState.hostFunction), place_(-1) {
  threadState.hostFunction = name;
  for (size_t i = 0; i < places.size(); ++i) {
    const char* none = nullptr;
    Place& place = places.at(i);
    if (place.name.load(std::memory_order_relaxed) != nullptr) continue;
    place.begin = Clock::now().time_since_epoch().count();
    if (!place.name.compare_exchange_strong(none, name)) continue;
    place_ = static_cast<int>(i);
    return;
  }
}

HostCall::~HostCall() {
  threadState.hostFunction = before_;
  if (place_ >= 0) places.at(static_cast<size_t>(place_)).name = nullptr;
}

void BeginWatch() {
  const std::lock_guard lock(currentMutex);
  if (current != nullptr) return;
  auto watcher = std::make_unique<Watcher>();
  // The host's signals are none of the watcher's business.
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    watcher->thread = std::thread(Watch, std::ref(*watcher), Limit());
    current = std::move(watcher);
  } catch (const std::system_error&) {
    // Without a thread nothing is watched.
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void EndWatch() {
  std::unique_ptr<Watcher> ending;
  {
    const std::lock_guard lock(currentMutex);
    ending.swap(current);
  }
  if (ending == nullptr) return;
  {
    const std::lock_guard lock(ending->mutex);
    ending->isEnding = true;
  }
  ending->condition.notify_all();
  ending->thread.join();
}

void LeaveWatch() {
  // Never destroyed: the end of a thread that is still to be joined would be the end of the process.
  [[maybe_unused]] Watcher* left = current.release();
}

}  // namespace probe
