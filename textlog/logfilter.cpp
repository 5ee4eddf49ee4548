#include "textlog/logfilter.h"

#include <stdlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "platform/filestatus.h"
#include "platform/message.h"
#include "platform/privatefile.h"
#include "platform/shell.h"
#include "textlog/logmerger.h"

/// The log that the filter cache was made of. Guarded by the module lock, as is the cache.
static std::array<char, SHELL_LINE_SIZE> lastFilteredLog{};

namespace {

constexpr char CACHE_FILE[] = "/tmp/._kestrune_cache";
constexpr char WORK_FILE_PREFIX[] = "/tmp/__log__tmp";
constexpr char QUIET[] = "2>/dev/null";

/// The commands whose length depends on the caller; all others are made of the names above.
constexpr char COUNT_LINES[] = "wc -l %s|awk '{print $1}'";
constexpr char COPY_LAST_LINES[] = "tail -n %d %s > %s";
constexpr char GREP_AND_SORT[] = "grep %s %s|sort -M > %s1 %s";

PrivateFile filterCache(CACHE_FILE);

/// Passes on `isReplaced`, which tells that a file of ours has become somebody else's: it is never answered. Asked both
/// before a command reads the file and afterwards.
bool ReportIf(bool isReplaced, const char* path) {
  if (isReplaced) Error("Err (%s:LogFilter): File %s was replaced by somebody else!\n", path);
  return isReplaced;
}

bool IsReplaced(const PrivateFile& file) { return ReportIf(file.IsForeign(), file.Path()); }

/// Whether a command may read the file.
bool IsUsable(const PrivateFile& file) { return !IsReplaced(file) && file.IsOurs(); }

/// Whether the log is a merged one that is not this process's own. Any other log belongs to somebody else anyway.
bool IsReplaced(const char* logFile) { return ReportIf(IsForeignMergedLog(logFile), logFile); }

/// The work files of one call: each step of the filter writes the output from the input, whose place it then takes.
class WorkFiles {
 public:
  explicit WorkFiles(long number) : input_(WORK_FILE_PREFIX, number), output_(WORK_FILE_PREFIX, number, "1") {}

  /// The input; the output's path is this one and "1".
  const char* Path() const { return input_.Path(); }

  /// Makes the input a copy of the cache.
  void CopyCache() {
    if (!IsUsable(filterCache) || !input_.Make()) return;
    RunCommand("cp -f %s %s", CACHE_FILE, Path());
    // Less than the cache is a copy cut short: there was no room for it.
    if (IsReplaced(filterCache) || SizeOf(Path()) < SizeOf(CACHE_FILE)) input_.Remove();
  }

  bool IsMade() const { return input_.IsMade(); }

  /// Lines of the input. One that could not be made has none: what may stand under its name is somebody else's.
  uint64_t CountLines() const { return IsMade() && IsUsable(input_) ? CountFileLines(Path()) : 0; }

  /// Makes the input or the output, empty and private, for a command to write. Throws 1 when it cannot be made.
  void MakeInput() { MakeOrThrow(input_); }
  void MakeOutput() { MakeOrThrow(output_); }

  /// Whether the output holds at least as many bytes as the input, of which it was made, or as many lines as are given.
  bool IsOutputWhole() const { return SizeOf(output_.Path()) >= SizeOf(Path()); }
  bool HasOutputLines(uint64_t lines) const { return HasLines(output_.Path(), lines); }
  /// Whether the input, made anew from the output, holds as much.
  bool IsInputWhole() const { return SizeOf(Path()) >= SizeOf(output_.Path()); }

  /// To be called once a command was told to move the output to the input's place. Returns whether it did.
  bool IsMoved() {
    if (output_.IsOurs()) return false;
    input_.Become(output_);
    return input_.IsOurs();
  }

  /// The caller of the filter removes the input.
  void Release() { input_.Release(); }

 private:
  static void MakeOrThrow(TemporaryFile& file) {
    if (!file.Make()) throw 1;
  }

  TemporaryFile input_;
  TemporaryFile output_;
};

/// Whether the names fit every command that the filter may make of them, and its buffers.
bool Fits(const char* logFile, const char* keyword, const char* work) {
  return strlen(logFile) < lastFilteredLog.size() && CommandFits(COUNT_LINES, logFile) &&
         CommandFits(COPY_LAST_LINES, LOG_MAX_LINES, logFile, CACHE_FILE) &&
         (keyword == nullptr || CommandFits(GREP_AND_SORT, keyword, work, work, QUIET));
}

/// Makes the filter cache a copy of the log. Returns whether it is whole.
bool FillCache(const char* logFile) {
  const off_t before = SizeOf(logFile);
  const uint64_t lines = CountFileLines(logFile);
  if (IsReplaced(logFile) || !filterCache.Make()) return false;
  bool isWhole = false;
  if (lines <= static_cast<uint64_t>(LOG_MAX_LINES)) {
    RunCommand("cp -f %s %s", logFile, CACHE_FILE);
    const off_t after = SizeOf(logFile);  // less where the log was rotated meanwhile
    isWhole = after >= 0 && SizeOf(CACHE_FILE) >= std::min(before, after);
  } else {
    RunCommand(COPY_LAST_LINES, LOG_MAX_LINES, logFile, CACHE_FILE);
    Warning("Warn (%s:LogFilter): Log file is too big, filter last %d lines!\n", LOG_MAX_LINES);
    isWhole = HasLines(CACHE_FILE, LOG_MAX_LINES - 1);  // the last may not have ended yet
  }
  return !IsReplaced(logFile) && !IsReplaced(filterCache) && isWhole;
}

/// Brings the filter cache up to date if it belongs to another log or is gone. Returns whether there is one.
bool RefreshCache(const char* logFile) {
  const bool isSameLog = strcmp(logFile, lastFilteredLog.data()) == 0;
  if (isSameLog && filterCache.IsOurs()) return true;
  memcpy(lastFilteredLog.data(), logFile, strlen(logFile) + 1);
  if (FillCache(logFile)) {
    filterCache.Settle();
    return true;
  }
  // Part of a log is no log: it is read again next time.
  filterCache.Remove();
  return false;
}

/// The count mode. Throws 1 when the work files cannot be made.
uint64_t CountLines(WorkFiles& files, const char* keyword, uint64_t* begin, uint64_t* end) {
  if (keyword != nullptr && files.IsMade()) {
    const char* input = files.Path();
    files.MakeOutput();
    RunCommand("grep %s %s > %s1", keyword, input, input);
    RunCommand("mv -f %s1 %s", input, input);
    if (!files.IsMoved()) throw 1;
  }
  uint64_t lines = files.CountLines();
  if (lines != 0 && begin != nullptr && end != nullptr) {
    CompareRange(begin, end, lines, &lines);
  }
  return lines;
}

/// First step of the output mode: the keyword and the sort by month. An output cut short leaves the input empty; how
/// much grep selects is not known beforehand.
void SelectAndSort(WorkFiles& files, const char* keyword, int sortFirst) {
  if ((keyword == nullptr && sortFirst == 0) || !files.IsMade()) return;
  files.MakeOutput();
  const char* input = files.Path();
  if (keyword == nullptr) {
    RunCommand("sort -M %s > %s1 %s", input, input, QUIET);
  } else if (sortFirst != 0) {
    RunCommand(GREP_AND_SORT, keyword, input, input, QUIET);
  } else {
    RunCommand("grep %s %s > %s1 %s", keyword, input, input, QUIET);
  }
  const bool isWhole = keyword != nullptr || files.IsOutputWhole();
  RunCommand("mv -f %s1 %s %s", input, input, QUIET);
  if (!files.IsMoved() || !isWhole) files.MakeInput();
}

/// Writes the lines wanted, padded, from the input to the output. Returns whether all are there, with their number in
/// `wanted`, which is 0 for an empty range. A day of the month that is padded with a blank gets a zero instead.
bool CutAndPad(WorkFiles& files, uint64_t* begin, uint64_t* end, uint64_t& wanted) {
  const char* input = files.Path();
  if (begin == nullptr || end == nullptr) {
    files.MakeOutput();
    RunCommand("sed 's/^\\(....\\) /\\10/' %s > %s1", input, input);
    return files.IsOutputWhole();
  }
  const uint64_t lines = wanted;
  CompareRange(begin, end, lines, &wanted);
  if (wanted == 0) return true;
  const uint64_t first = lines - *end + 1;
  const uint64_t last = lines - *begin + 1;
  *begin = first;
  *end = last;
  files.MakeOutput();
  RunCommand("sed -n '%ld,%ldp' %s|sed 's/^\\(....\\) /\\10/' > %s1", static_cast<long>(first),
             static_cast<long>(last), input, input);
  return files.HasOutputLines(wanted);
}

/// Writes the lines wanted into the input, newest first, and returns their number, which is 0 for an empty range.
/// Throws 1 when there is nothing to list, or not all of it.
uint64_t WriteResult(WorkFiles& files, const char* keyword, int sortFirst, uint64_t* begin, uint64_t* end) {
  SelectAndSort(files, keyword, sortFirst);
  uint64_t wanted = files.CountLines();
  if (wanted == 0) {
    Debug("Dbg (%s:LogFilter): empty file!\n");
    throw 1;
  }
  bool isWhole = CutAndPad(files, begin, end, wanted);
  if (wanted == 0) return 0;
  files.MakeInput();  // so that nothing unsorted is left in it
  const char* input = files.Path();
  if (isWhole) RunCommand("sort -M -r %s1 > %s %s", input, input, QUIET);
  isWhole = isWhole && files.IsInputWhole();
  RunCommand("rm -f %s1 %s", input, QUIET);
  const uint64_t listed = files.CountLines();
  if (!isWhole || listed < wanted) {
    Error("Err (%s:LogFilter): File format error, can not sort, please check log format.!\n");
    throw 1;
  }
  return listed;
}

}  // namespace

uint64_t CountFileLines(const char* path) { return ReadNumber(COUNT_LINES, path); }

int CompareRange(uint64_t* begin, uint64_t* end, uint64_t total, uint64_t* count) {
  *count = 0;
  if (total == 0 || *begin > total) return 0;
  if (*begin == 0) *begin = 1;
  if (*end == 0 || *end > total) *end = total;
  if (*begin > *end) {
    Error("Err (%s:CompareRange): begin line larger than end line!\n");
    return 1;
  }
  *count = *end - *begin + 1;
  return 0;
}

uint64_t LogFilter(const char* logFile, const char* keyword, char* resultFile, int sortFirst, uint64_t* begin,
                   uint64_t* end) {
  WorkFiles files(random());
  if (logFile == nullptr || !Fits(logFile, keyword, files.Path())) {
    Error("Err (%s:LogFilter): Parameter error!\n");
    return 0;
  }
  if (!IsReadable(logFile)) {
    Error("Err (%s:LogFilter): File %s doesn't exist!\n", logFile);
    return 0;
  }
  if (IsReplaced(logFile)) return 0;
  if (RefreshCache(logFile)) files.CopyCache();
  if (resultFile != nullptr) resultFile[0] = '\0';
  try {
    if (resultFile == nullptr) return CountLines(files, keyword, begin, end);
    const uint64_t lines = WriteResult(files, keyword, sortFirst, begin, end);
    if (lines == 0) return 0;
    files.Release();
    snprintf(resultFile, RESULT_FILE_SIZE, "%.*s", static_cast<int>(RESULT_FILE_SIZE - 1), files.Path());
    return lines;
  } catch (...) {
    return 0;
  }
}

int CleanTmpFile() { return filterCache.Remove(); }

void RemoveLeftWorkFiles() { RemoveLeftFiles(WORK_FILE_PREFIX); }
