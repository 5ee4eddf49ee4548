#include "platform/processlock.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>

#include "platform/message.h"

namespace {

constexpr char ROOT_LOCK_FILE[] = "/run/kestrune.lock";
constexpr char USER_LOCK_FILE[] = "/run/user/%u/kestrune.lock";
constexpr std::chrono::seconds PATIENCE{10};
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

enum class Attempt { TAKEN, HELD_BY_ANOTHER, IMPOSSIBLE };

Attempt Try(int descriptor, LockedByte byte, short type = F_WRLCK) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  if (fcntl(descriptor, F_SETLK, &lock) == 0) return Attempt::TAKEN;
  return errno == EAGAIN || errno == EACCES ? Attempt::HELD_BY_ANOTHER : Attempt::IMPOSSIBLE;
}

/// Asks again and again, at least once: a call that waits in the kernel could only be ended by a signal, and those are
/// the host's.
Attempt Wait(int descriptor, LockedByte byte, std::chrono::steady_clock::time_point deadline) {
  while (true) {
    const Attempt attempt = Try(descriptor, byte);
    if (attempt != Attempt::HELD_BY_ANOTHER || std::chrono::steady_clock::now() >= deadline) return attempt;
    const timespec pause{0, POLL_NANOSECONDS};
    nanosleep(&pause, nullptr);
  }
}

}  // namespace

ProcessLock::ProcessLock() : descriptor_(OpenLockFile()) {
  if (descriptor_ < 0) return;
  const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
  // One that was stopped in the queue must not keep the others from a lock that is free.
  Wait(descriptor_, LOCKED_BYTE_QUEUE, deadline);
  const Attempt attempt = Wait(descriptor_, LOCKED_BYTE_WORK, deadline);
  Try(descriptor_, LOCKED_BYTE_QUEUE, F_UNLCK);
  isHeld_ = attempt == Attempt::TAKEN;
  if (attempt != Attempt::HELD_BY_ANOTHER) return;
  Warning("Warn (%s:ProcessLock): %s is held by another process for too long, going on without it!\n",
          static_cast<const char*>(LockFile().data()));
}

ProcessLock::~ProcessLock() {
  if (descriptor_ >= 0) close(descriptor_);
}
