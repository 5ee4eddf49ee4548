#include "standin/follow/followstate.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "standin/failure.h"
#include "standin/follow/selfollower.h"
#include "standin/output/selrows.h"

namespace standin {
namespace {

constexpr int VERSION = 1;

/// Enough of them to find the place again where some have gone to an archive, and few enough to be written often.
constexpr size_t MOST_RECORDS = 64;

/// FNV-1a, 64 bits: no defence against anybody, but against half a file and a slip in an editor.
std::string DigestOf(const Keys& records) {
  uint64_t digest = 0xCBF29CE484222325;
  for (const std::string& record : records) {
    for (const char byte : record + '\n') digest = (digest ^ static_cast<uint8_t>(byte)) * 0x100000001B3;
  }
  std::array<char, 17> text{};
  std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(digest));
  return text.data();
}

void PutInFront(Keys& keys, const std::string& key, size_t most) {
  keys.insert(keys.begin(), key);
  if (keys.size() > most) keys.pop_back();
}

[[noreturn]] void Fail(const std::string& path, const char* what) {
  throw Failure(REQUEST_FAILED,
                std::string("cannot ") + what + " the state file '" + path + "': " + std::strerror(errno));
}

/// Renames a file to a name beside it that is free. Returns that name.
std::string SetAside(const std::string& path) {
  for (int i = 1; i < 1000; ++i) {
    std::string aside = path + ".broken." + std::to_string(i);
    if (renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0) return aside;
    if (errno != EEXIST) break;
  }
  Fail(path, "set aside");
}

/// A file that is open for writing, and what must not go wrong with it.
class Draft {
 public:
  explicit Draft(std::string path)
      : path_(std::move(path)),
        // What a process that was killed has left there is nobody's.
        file_(
            (unlink(path_.c_str()), open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600))) {
    if (file_ < 0) Fail(path_, "write");
  }
  ~Draft() { close(file_); }
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;

  void Write(const std::string& text) const {
    errno = ENOSPC;  // where less than all is written
    if (fchmod(file_, 0600) != 0 || write(file_, text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        fsync(file_) != 0) {
      Fail(path_, "write");
    }
  }

  /// Puts it in the place of `path`, also on the disk.
  void Become(const std::string& path) const {
    if (rename(path_.c_str(), path.c_str()) != 0) Fail(path, "write");
    const std::string folder = std::filesystem::absolute(path).parent_path();
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isDone = descriptor >= 0 && fsync(descriptor) == 0;
    if (descriptor >= 0) close(descriptor);
    if (!isDone) Fail(path, "write");
  }

 private:
  std::string path_;
  int file_;
};

}  // namespace

FollowState::~FollowState() {
  if (lock_ >= 0) close(lock_);
}

void FollowState::Lock() {
  const std::string path = path_ + ".lock";
  lock_ = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
  if (lock_ < 0) Fail(path, "write");
  // A lock of flock would live on in a command of the module whose follower was killed.
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  if (fcntl(lock_, F_SETLK, &whole) == 0) return;
  if (errno != EAGAIN && errno != EACCES) Fail(path, "lock");
  throw Failure(REQUEST_FAILED, "another process follows the log with the state file '" + path_ + "'");
}

bool FollowState::Read(std::string& note) {
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0 && errno == ENOENT) return false;
  if (status.st_mode != 0 && !S_ISREG(status.st_mode)) {
    throw Failure(REQUEST_FAILED, "the state file '" + path_ + "' is no regular file");
  }
  errno = 0;
  std::ifstream file(path_, std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  if (!file.is_open() || file.bad()) Fail(path_, "read");
  try {
    const auto state = nlohmann::ordered_json::parse(text);
    records_ = state.at("records").get<Keys>();
    archived_ = state.at("archived").get<Keys>();
    newest_ = state.at("newest");
    if (state.at("version") != VERSION || state.at("digest") != DigestOf(Records()) || !newest_.is_object()) {
      throw std::invalid_argument("its digest does not fit");
    }
    return true;
  } catch (const std::exception& error) {
    records_.clear();
    archived_.clear();
    newest_ = nlohmann::ordered_json::object();
    note = "the state file '" + path_ + "' is broken (" + error.what() + "); it was renamed to '" + SetAside(path_) +
           "', and the log is sent from its beginning";
    return false;
  }
}

Keys FollowState::Records() const {
  Keys all = records_;
  all.insert(all.end(), archived_.begin(), archived_.end());
  return all;
}

void FollowState::Add(const Row& row) {
  const std::string key = SELFollower::KeyOf(row);
  PutInFront(records_, key, MOST_RECORDS);
  if (row.fields.value("source", "") == FROM_ARCHIVE) PutInFront(archived_, key, CHAIN);
  for (const char* field : {"recordId", "timestamp", "preinit"}) {
    newest_[field] = row.fields.value(field, nlohmann::ordered_json());
  }
}

void FollowState::Write() const {
  const nlohmann::ordered_json state{{"version", VERSION},
                                     {"newest", newest_},
                                     {"records", records_},
                                     {"archived", archived_},
                                     {"digest", DigestOf(Records())}};
  const Draft draft(path_ + ".new");
  draft.Write(state.dump(1, ' ', true, nlohmann::ordered_json::error_handler_t::replace) + '\n');
  draft.Become(path_);
}

}  // namespace standin
