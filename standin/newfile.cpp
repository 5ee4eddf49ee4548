#include "standin/newfile.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "standin/failure.h"

namespace standin {

NewFile::NewFile(std::string path, bool overwrite)
    : path_(std::move(path)), overwrite_(overwrite), draft_(path_ + ".XXXXXX") {
  struct stat status {};
  if (lstat(path_.c_str(), &status) == 0) {
    if (!overwrite_) Fail(EEXIST);
    if (!S_ISREG(status.st_mode)) throw Failure(REQUEST_FAILED, "'" + path_ + "' is no file that could be overwritten");
  }
  descriptor_ = mkostemp(draft_.data(), O_CLOEXEC);  // with the mode 0600
  if (descriptor_ < 0) {
    draft_.clear();
    Fail(errno);
  }
}

NewFile::~NewFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!draft_.empty()) unlink(draft_.c_str());
}

void NewFile::Write(std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t written = write(descriptor_, contents.data(), contents.size());
    if (written >= 0) {
      contents.remove_prefix(static_cast<size_t>(written));
    } else if (errno != EINTR) {
      Fail(errno);
    }
  }
  if (fsync(descriptor_) != 0) Fail(errno);
}

void NewFile::Commit() {
  if (overwrite_) {
    if (rename(draft_.c_str(), path_.c_str()) != 0) Fail(errno);
    draft_.clear();
    return;
  }
  if (renameat2(AT_FDCWD, draft_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0) {
    draft_.clear();
    return;
  }
  // Not every file system can do that; those that cannot have links.
  if (errno != EINVAL || link(draft_.c_str(), path_.c_str()) != 0) Fail(errno);
}

void NewFile::Fail(int error) const {
  throw Failure(REQUEST_FAILED, error == EEXIST ? "'" + path_ + "' exists; --force overwrites it"
                                                : "cannot write '" + path_ + "': " + std::strerror(error));
}

}  // namespace standin
