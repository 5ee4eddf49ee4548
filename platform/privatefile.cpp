#include "platform/privatefile.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Makes the file under a cleared name and tells what was made.
bool MakeEmpty(const char* path, struct stat& made) {
  if (!ClearName(path)) return false;
  const int descriptor = open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return false;
  // The mode is set once more because the host's umask may have taken bits that the commands need.
  const bool done = fchmod(descriptor, S_IRUSR | S_IWUSR) == 0 && fstat(descriptor, &made) == 0;
  close(descriptor);
  if (!done) unlink(path);
  return done;
}

}  // namespace

bool ClearName(const char* path) { return unlink(path) == 0 || errno == ENOENT; }

bool IsFIFO(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISFIFO(status.st_mode);
}

bool IsRegularFile(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

off_t SizeOf(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 ? status.st_size : -1;
}

bool IsReadable(const char* path) { return access(path, R_OK) == 0 && !IsFIFO(path); }

bool PrivateFile::Make() {
  struct stat made {};
  const bool done = MakeEmpty(path_, made);
  device_ = made.st_dev;
  inode_ = made.st_ino;
  return done;
}

bool PrivateFile::IsOurs() const {
  struct stat status {};
  // The owner counts too: an inode number may come back to life as somebody else's file.
  return inode_ != 0 && lstat(path_, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
         status.st_dev == device_ && status.st_ino == inode_;
}

TemporaryFile::TemporaryFile(const char* prefix, long number, const char* suffix) {
  snprintf(path_.data(), path_.size(), "%s.%ld%s", prefix, number, suffix);
}

void TemporaryFile::Remove() {
  if (made_) unlink(Path());
  made_ = false;
}

bool TemporaryFile::Make() {
  struct stat made {};
  if (!MakeEmpty(Path(), made)) return false;
  made_ = true;
  return true;
}
