#include "platform/privatefile.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <string_view>

#include "platform/message.h"

namespace {

constexpr mode_t PRIVATE_MODE = S_IRUSR | S_IWUSR;

/// Bytes of the longest name that is handled here, with its NUL.
constexpr size_t PATH_SIZE = 512;

constexpr char OPEN_FOLDER[] = "its folder is writable for all and not sticky";

/// How often a file is put into its place, which somebody may change meanwhile from a file into a folder or back.
constexpr int PLACE_ATTEMPTS = 10;

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

/// The folder of an absolute path.
std::array<char, PATH_SIZE> FolderOf(const char* path) {
  std::array<char, PATH_SIZE> folder{};
  const char* slash = strrchr(path, '/');
  if (slash != nullptr) snprintf(folder.data(), folder.size(), "%.*s", static_cast<int>(slash - path), path);
  return folder;
}

/// Whether anybody may rename or unlink what this process makes in the folder of `path`. A folder that is writable for
/// its group alone is the trust of whoever set it up so.
bool IsOpenToAll(const char* path) {
  struct stat status {};
  return stat(FolderOf(path).data(), &status) == 0 && (status.st_mode & S_IWOTH) != 0 &&
         (status.st_mode & S_ISVTX) == 0;
}

/// A name beside `path` that does not exist: the time makes it a new one each time.
std::array<char, PATH_SIZE> NameAside(const char* path) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::array<char, PATH_SIZE> aside{};
  snprintf(aside.data(), aside.size(), "%s.aside.%lld%09ld", path, static_cast<long long>(now.tv_sec), now.tv_nsec);
  return aside;
}

/// Renames the file `from` to `to` in one step, so that nobody who plants names there comes in between. Whatever stood
/// there is gone; but a folder is exchanged, and stands at `from` then.
bool Place(const char* from, const char* to) {
  for (int i = 0; i < PLACE_ATTEMPTS; ++i) {
    if (rename(from, to) == 0) return true;
    if (errno == EISDIR && renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_EXCHANGE) == 0) return true;
  }
  return false;
}

/// Makes an empty file and tells what was made. Returns null, or why it could not be made.
const char* MakeEmpty(const char* path, struct stat& made) {
  if (IsOpenToAll(path)) return OPEN_FOLDER;
  const std::array<char, PATH_SIZE> aside = NameAside(path);
  const int descriptor = open(aside.data(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, PRIVATE_MODE);
  if (descriptor < 0) return strerrordesc_np(errno);
  // The mode is set once more because the host's umask may have taken bits that the commands need.
  const bool done = fchmod(descriptor, PRIVATE_MODE) == 0 && fstat(descriptor, &made) == 0 && Place(aside.data(), path);
  const int error = errno;
  close(descriptor);
  if (done) return nullptr;
  unlink(aside.data());
  return strerrordesc_np(error);
}

bool IsPrivate(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_uid == geteuid() && (status.st_mode & ALLPERMS) == PRIVATE_MODE;
}

/// Whether `name` is `prefix`, a point and digits; the suffix of a temporary file is a digit too.
bool IsTemporaryName(std::string_view name, std::string_view prefix) {
  if (!name.starts_with(prefix)) return false;
  name.remove_prefix(prefix.size());
  return name.size() > 1 && name[0] == '.' && name.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

}  // namespace

bool PrivateFile::Make() {
  isSettled_ = false;
  made_ = {};
  const char* fault = MakeEmpty(path_, made_);
  if (fault == nullptr) return true;
  made_ = {};
  Error("Err (%s:PrivateFile): Can't make file %s: %s!\n", path_, fault);
  return false;
}

bool PrivateFile::IsSame(const struct stat& status) const {
  if (!IsMade() || !S_ISREG(status.st_mode) || status.st_uid != geteuid()) return false;
  if (status.st_dev != made_.st_dev || status.st_ino != made_.st_ino) return false;
  return !isSettled_ || (status.st_size == made_.st_size && status.st_ctim.tv_sec == made_.st_ctim.tv_sec &&
                         status.st_ctim.tv_nsec == made_.st_ctim.tv_nsec);
}

void PrivateFile::Settle() {
  struct stat status {};
  if (lstat(path_, &status) != 0 || !IsSame(status)) return;
  made_ = status;
  isSettled_ = true;
}

bool PrivateFile::IsOurs() const {
  struct stat status {};
  return lstat(path_, &status) == 0 && IsSame(status);
}

bool PrivateFile::IsForeign() const {
  struct stat status {};
  return lstat(path_, &status) == 0 && !IsSame(status);
}

int PrivateFile::Remove() {
  const int result = IsOurs() ? unlink(path_) : -1;
  made_ = {};
  return result;
}

bool PrivateFile::Become(PrivateFile& other) {
  struct stat status {};
  if (lstat(path_, &status) != 0 || !other.IsSame(status)) return false;
  made_ = other.made_;
  isSettled_ = false;
  other.made_ = {};
  return true;
}

TemporaryName::TemporaryName(const char* prefix, long number, const char* suffix) {
  snprintf(name.data(), name.size(), "%s.%ld%s", prefix, number, suffix);
}

void RemoveTemporaryFiles(const char* prefix) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(FolderOf(prefix).data()));
  if (folder == nullptr) return;
  const char* namePrefix = strrchr(prefix, '/') + 1;
  while (const dirent* entry = readdir(folder.get())) {
    if (!IsTemporaryName(entry->d_name, namePrefix)) continue;
    struct stat status {};
    if (fstatat(dirfd(folder.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !IsPrivate(status)) continue;
    unlinkat(dirfd(folder.get()), entry->d_name, 0);
  }
}
