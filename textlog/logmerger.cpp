#include "textlog/logmerger.h"

#include <sys/stat.h>

#include <array>
#include <cstring>
#include <ctime>
#include <utility>

#include "platform/filestatus.h"
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

/// Whether a listed name counts: something stands there, and it is no device or FIFO, which may never end.
bool IsListed(const char* name) { return IsFileExist(name) != 0 && IsPlainFile(name); }

/// The names of a list, one by one; the list must fit SHELL_LINE_SIZE and stays whole.
class Names {
 public:
  explicit Names(const char* list) { memcpy(list_.data(), list, strlen(list) + 1); }

  /// The next name, or null after the last.
  const char* Next() { return strtok_r(std::exchange(start_, nullptr), " ", &rest_); }

 private:
  std::array<char, SHELL_LINE_SIZE> list_{};
  char* start_ = list_.data();
  char* rest_ = nullptr;
};

/// Whether the list and all commands made of it and the target fit their buffers.
bool Fits(const char* fileList, const char* target) {
  if (strlen(fileList) >= SHELL_LINE_SIZE || !CommandFits(EMPTY_COMMAND, target)) return false;
  Names names(fileList);
  while (const char* name = names.Next()) {
    if (!CommandFits(APPEND_COMMAND, name, target)) return false;
  }
  return true;
}

/// Takes over the newest modification time of the listed files; true when it is newer than the last, or unknown.
bool HasNewerFile(const char* fileList) {
  bool changed = false;
  Names names(fileList);
  while (const char* name = names.Next()) {
    if (!IsListed(name)) continue;
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

/// Appends a file to the merged one. Returns whether all of it is there.
bool AppendFile(const char* name) {
  const off_t merged = SizeOf(mergedFile.Path());
  const CopiedLog copied(name);
  RunCommand(APPEND_COMMAND, name, mergedFile.Path());
  if (!IsReadable(name)) return true;
  if (mergedFile.IsOurs() && SizeOf(mergedFile.Path()) >= merged + copied.LeastSize()) return true;
  Error("Err (%s:LogMerger): Can't write all of file %s!\n", mergedFile.Path());
  return false;
}

}  // namespace

bool IsForeignMergedLog(const char* path) { return strcmp(path, mergedFile.Path()) == 0 && mergedFile.IsForeign(); }

void RemoveMergedLog() { mergedFile.Remove(); }

int LogMerger(char* fileList, const char* target) {
  if (fileList == nullptr || target == nullptr || !Fits(fileList, target)) return 0;
  const bool isNewTarget = strcmp(target, lastMergeTarget.data()) != 0;
  if (isNewTarget) memcpy(lastMergeTarget.data(), target, strlen(target) + 1);
  const bool isMissing = isNewTarget || !mergedFile.IsOurs();
  if (isMissing) lastMergeTime = 0;
  if (!HasNewerFile(fileList) && !isMissing) {
    Debug("DBG (%s:LogFilter): no need merge!\n");
    return 0;
  }
  // Made anew each time: a file that others may have opened is not written to again.
  if (!mergedFile.Make()) return 0;
  RunCommand(EMPTY_COMMAND, target);
  char* rest = nullptr;
  for (const char* name = strtok_r(fileList, " ", &rest); name != nullptr; name = strtok_r(nullptr, " ", &rest)) {
    if (!IsListed(name) || AppendFile(name)) continue;
    // One cut short is no merged log: it is missing until the next request makes it.
    mergedFile.Remove();
    return 0;
  }
  mergedFile.Settle();
  return 0;
}
