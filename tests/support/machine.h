/// machine.h: the private machine that a test runs in, with a /var/log, /tmp, /etc/zarp and /usr/zarp of its own: verbs
/// to put it into a state and to look at it. A verb that fails throws, which ends the test.
#ifndef KESTRUNE_TESTS_SUPPORT_MACHINE_H_
#define KESTRUNE_TESTS_SUPPORT_MACHINE_H_

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <ios>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace machine {

/// Takes away what tests and module left in the four folders.
void Reset();

void WriteFile(const std::string& path, std::string_view content, std::ios::openmode mode = std::ios::trunc);
inline void AppendFile(const std::string& path, std::string_view content) { WriteFile(path, content, std::ios::app); }
std::string ReadFile(const std::string& path);
inline void SetTime(const std::string& path, time_t seconds) {
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  std::filesystem::last_write_time(path, std::chrono::file_clock::from_sys(time));
}
inline void Remove(const std::string& path) { std::filesystem::remove_all(path); }
inline void PlantLink(const std::string& path, const std::string& target) {
  Remove(path);
  std::filesystem::create_symlink(target, path);
}
inline void PlantFolder(const std::string& path) {
  Remove(path);
  std::filesystem::create_directories(path);
}
void PlantFIFO(const std::string& path);
/// A file that everybody may write, of another user where this process may make one.
void PlantStrangersFile(const std::string& path);
/// Puts something else than a file of its own under the name `path`: a "folder", "FIFO" or "stranger's file", a "link"
/// or "hard link" to `victim`, a "link to X". Leaves no such name for any other `kind`.
void Plant(const std::string& kind, const std::string& path, const std::string& victim);
/// Seeds the random numbers, and returns the name that the next temporary file of this prefix gets.
inline std::string SeedTemporary(const std::string& prefix) {
  srandom(7);
  std::string name = prefix + "." + std::to_string(random());
  srandom(7);
  return name;
}
std::set<std::string> Listing(const std::string& folder);
/// Removes what was renamed aside from `path`. Returns how many there were.
int RemoveAside(const std::string& path);
std::set<int> OpenDescriptors();
/// Lays the resource-manager library where the module looks for it, or one without the export `omitted`. The strings
/// come from Host().
void InstallResourceManager(const std::string& omitted = "");

/// An environment variable that is set, or unset for a null value, to the end of the scope.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
  }
  ~ScopedVariable() { before_ ? setenv(name_, before_->c_str(), 1) : unsetenv(name_); }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

/// The commands that the module runs. While an instance lives, PATH leads to them alone, each can be taken away or made
/// to do something first, and every call is noted.
class Commands {
 public:
  Commands();
  void Drop(const std::string& name);
  /// Runs the shell lines `script` before the command itself; "$real" is its path, "$@" its arguments. PATH is that of
  /// the test there.
  void Before(const std::string& name, const std::string& script);
  /// The calls since the last time, each with its arguments. Sorted: the parts of a pipeline start in any order.
  std::multiset<std::string> TakeCalls();

 private:
  std::string realPath_;
  ScopedVariable path_;
};

}  // namespace machine

#endif  // KESTRUNE_TESTS_SUPPORT_MACHINE_H_
