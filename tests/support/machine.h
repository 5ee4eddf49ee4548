/// machine.h: the private machine that a test runs in, with a /var/log, /tmp, /etc/zarp and /usr/zarp of its own: verbs
/// to put it into a state and to look at it. A verb that fails throws, which ends the test.
#ifndef KESTRUNE_TESTS_SUPPORT_MACHINE_H_
#define KESTRUNE_TESTS_SUPPORT_MACHINE_H_

#include <ctime>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace machine {

/// Whether this process runs in a fresh private machine; all else here may only be used if it does.
bool IsPrivate();
/// Takes away what tests and module left in the four folders.
void Reset();

void WriteFile(const std::string& path, std::string_view content);
void AppendFile(const std::string& path, std::string_view content);
std::string ReadFile(const std::string& path);
void SetTime(const std::string& path, time_t seconds);
void Remove(const std::string& path);
void PlantLink(const std::string& path, const std::string& target);
void PlantHardLink(const std::string& path, const std::string& target);
void PlantFolder(const std::string& path);
void PlantFIFO(const std::string& path);
/// A file that everybody may write, of another user where this process may make one.
void PlantStrangersFile(const std::string& path);
std::set<std::string> Listing(const std::string& folder);
/// Removes what was renamed aside from `path`. Returns how many there were.
int RemoveAside(const std::string& path);
std::set<int> OpenDescriptors();
/// Lays the resource-manager library of the tests where the module looks for it, or one without the export `omitted`.
void InstallResourceManager(const std::string& omitted = "");

/// The commands that the module runs. While an instance lives, PATH leads to them alone, each can be taken away or made
/// to do something first, and every call is noted.
class Commands {
 public:
  Commands();
  ~Commands();
  Commands(const Commands&) = delete;
  Commands& operator=(const Commands&) = delete;
  void Drop(const std::string& name);
  /// Runs the shell lines `script` before the command itself; "$real" is its path, "$@" its arguments.
  void Before(const std::string& name, const std::string& script);
  /// The calls since the last time, each with its arguments. Sorted: the parts of a pipeline start in any order.
  std::multiset<std::string> TakeCalls();

 private:
  std::string path_;
};

/// An environment variable that is set, or unset for a null value, to the end of the scope.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value);
  ~ScopedVariable();
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

/// The socket of the system log. A message is its priority in angle brackets and its text.
class SystemLog {
 public:
  SystemLog();
  ~SystemLog();
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;
  std::vector<std::string> Take() const;

 private:
  int socket_;
};

}  // namespace machine

#endif  // KESTRUNE_TESTS_SUPPORT_MACHINE_H_
