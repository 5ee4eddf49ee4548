#include "probe/calls.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>
#include <unwind.h>

#include "probe/findings.h"
#include "probe/hostfunctions.h"
#include "probe/imports.h"
#include "probe/memory.h"

namespace probe {

std::atomic<State> state{State::NEVER_STARTED};
thread_local ThreadState threadState{};

namespace {

std::atomic<uint32_t> calls{0};

/// The process that made the first call. A host that loads the module and then forks into the background may start
/// there.
std::atomic<pid_t> process{0};

/// Whether a frame further up is that of a signal: the unwinder tells by the way it finds the place to go on.
bool IsInSignalHandler() {
  stack_t stack{};
  if (sigaltstack(nullptr, &stack) == 0 && (stack.ss_flags & SS_ONSTACK) != 0) return true;
  bool found = false;
  _Unwind_Backtrace(
      [](_Unwind_Context* context, void* argument) {
        int isBeforeInstruction = 0;
        _Unwind_GetIPInfo(context, &isBeforeInstruction);
        if (isBeforeInstruction == 0) return _URC_NO_REASON;
        *static_cast<bool*>(argument) = true;
        return _URC_END_OF_STACK;
      },
      &found);
  return found;
}

/// Tells of a state of the process once, in the first call that meets it.
void CheckProcess(const std::string& what) {
  static std::atomic<bool> isToldOf[4];
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0 && !isToldOf[descriptor].exchange(true)) {
      Report(Rule::DESCRIPTORS, "descriptor " + std::to_string(descriptor) + " was closed in " + what);
    }
  }
  struct sigaction action {};
  sigaction(SIGCHLD, nullptr, &action);
  const bool isIgnored = action.sa_handler == SIG_IGN || (action.sa_flags & SA_NOCLDWAIT) != 0;
  if (isIgnored && !isToldOf[3].exchange(true)) Report(Rule::CHILD_SIGNAL, "SIGCHLD was ignored in " + what);
}

}  // namespace

uint32_t NextCall() { return ++calls; }

bool IsOwnProcess() {
  const pid_t first = process;
  return first == 0 || first == getpid();
}

void CheckCaller(const std::string& what) {
  pid_t none = 0;
  process.compare_exchange_strong(none, getpid());
  if (!IsOwnProcess()) Report(Rule::FORKED, what + " was called in a forked child");
  if (threadState.hostFunction != nullptr) {
    Report(Rule::REENTRANT, what + " was called from " + threadState.hostFunction);
  } else if (IsInSignalHandler()) {
    Report(Rule::SIGNAL_HANDLER, what + " was called from a signal handler");
  }
}

LockedCall::LockedCall(const std::string& what) : wouldHang_(threadState.lockedCalls > 0) {
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState_);
  const OwnWork own;
  CheckCaller(what);
  CheckProcess(what);
  ++threadState.lockedCalls;
}

LockedCall::~LockedCall() {
  --threadState.lockedCalls;
  pthread_setcancelstate(cancelState_, nullptr);
}

void PrepareForForks() {
  KeepImportsWholeInForks();
  pthread_atfork(nullptr, nullptr, [] {
    if (process == 0) return;
    LeaveMemory();
    LeaveWatch();
  });
}

}  // namespace probe
