#include "textlog/logmerger.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <ctime>

#include "platform/message.h"
#include "platform/privatefile.h"
#include "platform/shell.h"

/// The target of the last call, and the newest modification time seen since it was started. Guarded by the module lock,
/// as is the target's file.
static std::array<char, SHELL_LINE_SIZE> lastMergeTarget{};
static time_t lastMergeTime = 0;

namespace {

constexpr char EMPTY_COMMAND[] = "cat /dev/null > %s";
constexpr char APPEND_COMMAND[] = "cat %s >> %s";

PrivateFile mergedFile(lastMergeTarget.data());

/// The names of a list, one by one; cuts the list in place.
class Names {
 public:
  explicit Names(char* list) : next_(strtok_r(list, " ", &rest_)) {}

  /// The next name, or null behind the last.
  const char* Take() {
    const char* name = next_;
    if (name != nullptr) next_ = strtok_r(nullptr, " ", &rest_);
    return name;
  }

 private:
  char* rest_ = nullptr;
  char* next_;
};

using List = std::array<char, SHELL_LINE_SIZE>;

/// Whether the list and all commands made of it and the target fit their buffers.
bool Fits(const char* fileList, const char* target) {
  if (strlen(fileList) >= SHELL_LINE_SIZE || !CommandFits(EMPTY_COMMAND, target)) return false;
  List copy{};
  memcpy(copy.data(), fileList, strlen(fileList));
  Names names(copy.data());
  while (const char* name = names.Take()) {
    if (!CommandFits(APPEND_COMMAND, name, target)) return false;
  }
  return true;
}

/// Takes over the newest modification time of the listed files; true when it is newer than the last, or unknown.
bool HasNewerFile(const char* fileList) {
  List copy{};
  memcpy(copy.data(), fileList, strlen(fileList));
  bool changed = false;
  Names names(copy.data());
  while (const char* name = names.Take()) {
    if (access(name, F_OK) != 0) continue;
    struct stat status {};
    if (stat(name, &status) != 0) {
      changed = true;
    } else if (status.st_mtime > lastMergeTime) {
      changed = true;
      lastMergeTime = status.st_mtime;
    }
  }
  return changed;
}

}  // namespace

bool IsMergedLogForeign() { return access(mergedFile.Path(), F_OK) == 0 && !mergedFile.IsOurs(); }

int LogMerger(char* fileList, const char* target) {
  if (fileList == nullptr || target == nullptr || !Fits(fileList, target)) return 0;
  bool changed = false;
  if (strcmp(target, lastMergeTarget.data()) != 0) {
    memcpy(lastMergeTarget.data(), target, strlen(target) + 1);
    changed = true;
    lastMergeTime = 0;
  }
  if (!mergedFile.IsOurs()) {
    changed = true;
    lastMergeTime = 0;
  }
  if (HasNewerFile(fileList)) changed = true;
  if (!changed) {
    Debug("DBG (%s:LogFilter): no need merge!\n");
    return 0;
  }
  // Made anew each time: a file that others may have opened is not written to again.
  if (!mergedFile.Make()) return 0;
  char* rest = nullptr;
  const char* name = strtok_r(fileList, " ", &rest);
  RunCommand(EMPTY_COMMAND, target);
  for (; name != nullptr; name = strtok_r(nullptr, " ", &rest)) {
    if (access(name, F_OK) == 0 && !IsFIFO(name)) RunCommand(APPEND_COMMAND, name, target);
  }
  return 0;
}
