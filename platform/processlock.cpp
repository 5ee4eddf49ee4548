#include "platform/processlock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "platform/message.h"

namespace {

constexpr char ROOT_LOCK_FILE[] = "/run/kestrune.lock";
constexpr char USER_LOCK_FILE[] = "/run/user/%u/kestrune.lock";
constexpr int PATIENCE_SECONDS = 10;
constexpr long POLL_NANOSECONDS = 1'000'000;

/// Bytes of the lock file that are locked. Whoever waits for the lock holds the queue meanwhile, and whoever wants the
/// lock passes through the queue. So a process that asks without a pause cannot overtake one that waits.
enum LockedByte { LOCKED_BYTE_WORK = 0, LOCKED_BYTE_QUEUE = 1 };

using LockPath = std::array<char, 48>;

LockPath LockFile() {
  LockPath path{};
  const uid_t user = geteuid();
  snprintf(path.data(), path.size(), user == 0 ? ROOT_LOCK_FILE : USER_LOCK_FILE, user);
  return path;
}

/// Opens the lock file, making it if need be. Returns -1 for anything but a regular file of this user.
int OpenLockFile() {
  const mode_t mode = S_IRUSR | S_IWUSR;
  const int descriptor = open(LockFile().data(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, mode);
  if (descriptor < 0) return -1;
  struct stat status {};
  const bool isGood = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
  // The host's umask may have taken bits without which the file could not be opened again.
  if (isGood && ((status.st_mode & ALLPERMS) == mode || fchmod(descriptor, mode) == 0)) return descriptor;
  close(descriptor);
  return -1;
}

bool Try(int descriptor, LockedByte byte, short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return fcntl(descriptor, F_SETLK, &lock) == 0;
}

/// A point in time after which nobody waits any longer.
class Deadline {
 public:
  explicit Deadline(int seconds) {
    clock_gettime(CLOCK_MONOTONIC, &end_);
    end_.tv_sec += seconds;
  }

  bool IsOver() const {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec > end_.tv_sec || (now.tv_sec == end_.tv_sec && now.tv_nsec >= end_.tv_nsec);
  }

 private:
  timespec end_{};
};

/// Asks again and again: a call that waits in the kernel could only be ended by a signal, and those are the host's.
bool Wait(int descriptor, LockedByte byte, const Deadline& deadline) {
  while (!Try(descriptor, byte, F_WRLCK)) {
    if (deadline.IsOver()) return false;
    const timespec pause{0, POLL_NANOSECONDS};
    nanosleep(&pause, nullptr);
  }
  return true;
}

}  // namespace

ProcessLock::ProcessLock() : descriptor_(OpenLockFile()) {
  if (descriptor_ < 0) return;
  const Deadline deadline(PATIENCE_SECONDS);
  isHeld_ = Wait(descriptor_, LOCKED_BYTE_QUEUE, deadline) && Wait(descriptor_, LOCKED_BYTE_WORK, deadline);
  Try(descriptor_, LOCKED_BYTE_QUEUE, F_UNLCK);
  if (isHeld_) return;
  Warning("Warn (%s:ProcessLock): %s is held by another process for too long, going on without it!\n",
          static_cast<const char*>(LockFile().data()));
}

ProcessLock::~ProcessLock() {
  if (descriptor_ >= 0) close(descriptor_);
}
