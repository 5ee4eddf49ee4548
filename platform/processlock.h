/// processlock.h: the lock between the processes of one user that have the module loaded. They share the names of the
/// module's files, so one request runs at a time on the machine, not only in the process.
#ifndef KESTRUNE_PLATFORM_PROCESSLOCK_H_
#define KESTRUNE_PLATFORM_PROCESSLOCK_H_

/// Holds the lock while it lives. The file is /run/kestrune.lock, or /run/user/UID/kestrune.lock for a plain user; it
/// is opened for this one object and stays when it is closed. Nothing in the process may open it besides, and there may
/// be one object at a time: the locks of fcntl belong to the process. They are taken because a forked child does not
/// keep them.
class ProcessLock {
 public:
  /// Waits for ten seconds at most; then the work goes on without the lock, after a warning. Where there is no place
  /// for the file, it goes on at once.
  ProcessLock();
  ~ProcessLock();
  ProcessLock(const ProcessLock&) = delete;
  ProcessLock& operator=(const ProcessLock&) = delete;

  bool IsHeld() const { return isHeld_; }

 private:
  int descriptor_;
  bool isHeld_ = false;
};

#endif  // KESTRUNE_PLATFORM_PROCESSLOCK_H_
