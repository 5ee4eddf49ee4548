#include "platform/filestatus.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/privatefile.h"

namespace {

/// Device number of /dev/null on Linux.
constexpr unsigned int NULL_DEVICE_MAJOR = 1;
constexpr unsigned int NULL_DEVICE_MINOR = 3;

}  // namespace

int IsFileExist(const char* path) { return access(path, F_OK) == 0 ? 1 : 0; }

bool IsPlainFile(const char* path) {
  struct stat status {};
  if (stat(path, &status) != 0) return false;
  if (S_ISREG(status.st_mode)) return true;
  return S_ISCHR(status.st_mode) && status.st_rdev == makedev(NULL_DEVICE_MAJOR, NULL_DEVICE_MINOR);
}

bool IsReadable(const char* path) { return access(path, R_OK) == 0 && IsPlainFile(path); }

off_t SizeOf(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 ? status.st_size : -1;
}

bool HasLines(const char* path, uint64_t lines) {
  const File file = OpenForReading(path);
  std::array<char, 4096> piece{};
  while (file != nullptr && lines > 0) {
    const size_t size = fread(piece.data(), 1, piece.size(), file.get());
    if (size == 0) break;
    lines -= std::min(lines, static_cast<uint64_t>(std::count(piece.begin(), piece.begin() + size, '\n')));
  }
  return lines == 0;
}

bool EndsWithNewline(const char* path) {
  const File file = OpenForReading(path);
  return file != nullptr && fseek(file.get(), -1, SEEK_END) == 0 && fgetc(file.get()) == '\n';
}

CopiedLog::CopiedLog(const char* path) : path_(path) {
  struct stat status {};
  stat(path, &status);
  size_ = status.st_size;
  inode_ = status.st_ino;
}

off_t CopiedLog::LeastSize() const {
  struct stat status {};
  const bool isRotated = stat(path_, &status) == 0 && status.st_ino != inode_;
  return isRotated ? std::min(size_, status.st_size) : size_;
}
