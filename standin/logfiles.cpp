#include "standin/logfiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <sstream>

#include "kestrune/kestrune.h"

namespace standin {
namespace {

constexpr size_t HEAD_SIZE = 128;

std::string ReadHead(const std::string& path) {
  std::array<char, HEAD_SIZE> head{};
  const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return {};
  const ssize_t size = read(file, head.data(), head.size());
  close(file);
  return {head.data(), size > 0 ? static_cast<size_t>(size) : 0};
}

}  // namespace

FileState LookAt(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return {status.st_ino, status.st_size, status.st_mtim.tv_sec * int64_t{1'000'000'000} + status.st_mtim.tv_nsec,
          ReadHead(path)};
}

bool IsContinued(const FileState& earlier, const FileState& later) {
  return earlier.number == later.number && earlier.size <= later.size &&
         later.head.compare(0, earlier.head.size(), earlier.head) == 0;
}

std::vector<std::string> FilesOf(uint16_t log, const std::string& appLogList) {
  switch (log) {
    case LOG_SECURE:
      return {"/var/log/secure"};
    case LOG_MESSAGES:
      return {"/var/log/messages"};
    case LOG_AGENT:
      return {"/var/log/agent.log"};
    case LOG_SEL:
      return {"/etc/zarp/conf/ipmi.log"};
    default:
      break;
  }
  std::istringstream names(appLogList);
  std::vector<std::string> files;
  for (std::string name; names >> name;) files.push_back(name);
  return files;
}

}  // namespace standin
