#include "tests/support/machine.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace machine {
namespace {

namespace fs = std::filesystem;

constexpr char kCommandFolder[] = "/usr/zarp/bin/";
constexpr char kCommandNotes[] = "/usr/zarp/commands";
constexpr char kLogSocket[] = "/dev/log";
constexpr std::array kCommands = {"awk", "cat", "cp", "grep", "mv", "rm", "sed", "sort", "tail", "wc"};

void Check(bool good, const std::string& what) {
  if (!good) throw std::system_error(errno, std::generic_category(), what);
}

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set; run the tests through ctest");
  return value;
}

std::string FindCommand(const std::string& path, const std::string& name) {
  std::istringstream folders(path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    folder.append("/").append(name);
    if (access(folder.c_str(), X_OK) == 0) return folder;
  }
  throw std::runtime_error("no " + name + " in " + path);
}

}  // namespace

bool IsPrivate() {
  const char* mark = std::getenv("KESTRUNE_PRIVATE_MACHINE");
  std::error_code error;
  return mark != nullptr && std::string_view(mark) == "1" && fs::is_empty("/var/log", error) && !error;
}

void Reset() {
  for (const char* folder : {"/var/log", "/etc/zarp", "/usr/zarp"}) {
    for (const auto& entry : fs::directory_iterator(folder)) fs::remove_all(entry.path());
  }
  for (const std::string& name : Listing("/tmp")) {
    if (name.find("kestrune_cache") != std::string::npos || name.find("log__tmp") != std::string::npos) {
      fs::remove_all("/tmp/" + name);
    }
  }
}

void WriteFile(const std::string& path, std::string_view content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  Check(static_cast<bool>(file << content << std::flush), path);
}

void AppendFile(const std::string& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary | std::ios::app);
  Check(static_cast<bool>(file << content << std::flush), path);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  Check(file.is_open(), path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void SetTime(const std::string& path, time_t seconds) {
  const std::array<timespec, 2> times = {timespec{seconds, 0}, timespec{seconds, 0}};
  Check(utimensat(AT_FDCWD, path.c_str(), times.data(), 0) == 0, path);
}

void Remove(const std::string& path) { fs::remove_all(path); }

void PlantLink(const std::string& path, const std::string& target) {
  fs::remove_all(path);
  fs::create_symlink(target, path);
}

void PlantFolder(const std::string& path) {
  fs::remove_all(path);
  fs::create_directories(path);
}

void PlantHardLink(const std::string& path, const std::string& target) { fs::create_hard_link(target, path); }

void PlantFIFO(const std::string& path) { Check(mkfifo(path.c_str(), 0666) == 0, path); }

void PlantStrangersFile(const std::string& path) {
  WriteFile(path, "stranger");
  fs::permissions(path, fs::perms(0666));
  if (geteuid() == 0) Check(chown(path.c_str(), 65534, 65534) == 0, path);
}

std::set<std::string> Listing(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

int RemoveAside(const std::string& path) {
  const fs::path folder = fs::path(path).parent_path();
  int removed = 0;
  for (const std::string& name : Listing(folder)) {
    if (!name.starts_with(fs::path(path).filename().string() + ".aside.")) continue;
    fs::remove_all(folder / name);
    ++removed;
  }
  return removed;
}

std::set<int> OpenDescriptors() {
  std::set<int> open;
  for (int descriptor = 0; descriptor < 256; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1) open.insert(descriptor);
  }
  return open;
}

void InstallResourceManager(const std::string& omitted) {
  const std::string source = Variable("KESTRUNE_TEST_RESMGR");
  const std::string target = "/usr/zarp/lib/libresmgr.so";
  fs::create_directories("/usr/zarp/lib");
  fs::remove(target);
  fs::copy_file(source + (omitted.empty() ? "" : "-" + omitted) + ".so", target);
}

Commands::Commands() : path_(Variable("PATH")) {
  for (const char* name : kCommands) Before(name, "");
  setenv("PATH", kCommandFolder, 1);
}

Commands::~Commands() { setenv("PATH", path_.c_str(), 1); }

void Commands::Drop(const std::string& name) { Remove(kCommandFolder + name); }

void Commands::Before(const std::string& name, const std::string& script) {
  const std::string file = kCommandFolder + name;
  WriteFile(file, "#!/bin/sh\nprintf '%s\\n' \"" + name + " $*\" >> " + kCommandNotes +
                      "\nreal=" + FindCommand(path_, name) + "\n" + script + "\nexec $real \"$@\"\n");
  Check(chmod(file.c_str(), 0755) == 0, file);
}

std::multiset<std::string> Commands::TakeCalls() {
  std::multiset<std::string> calls;
  std::ifstream notes(kCommandNotes);
  for (std::string line; std::getline(notes, line);) calls.insert(line);
  Remove(kCommandNotes);
  return calls;
}

ScopedVariable::ScopedVariable(const char* name, const char* value) : name_(name) {
  if (const char* before = std::getenv(name)) before_ = before;
  value != nullptr ? setenv(name, value, 1) : unsetenv(name);
}

ScopedVariable::~ScopedVariable() { before_ ? setenv(name_, before_->c_str(), 1) : unsetenv(name_); }

SystemLog::SystemLog() : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  Check(socket_ >= 0, "socket");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string_view(kLogSocket).copy(address.sun_path, sizeof(address.sun_path) - 1);
  Check(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0, kLogSocket);
}

SystemLog::~SystemLog() {
  closelog();
  close(socket_);
  Remove(kLogSocket);
}

std::vector<std::string> SystemLog::Take() const {
  std::vector<std::string> messages;
  std::array<char, 2048> buffer{};
  for (ssize_t size; (size = recv(socket_, buffer.data(), buffer.size(), 0)) >= 0;) {
    const std::string message(buffer.data(), static_cast<size_t>(size));
    // "<priority>time sender: text", where neither time nor sender holds a colon followed by a blank.
    messages.push_back(message.substr(0, message.find('>') + 1) + message.substr(message.find(": ") + 2));
  }
  return messages;
}

}  // namespace machine
