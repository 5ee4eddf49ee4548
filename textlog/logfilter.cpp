#include "textlog/logfilter.h"

#include <stdlib.h>
#include <unistd.h>

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

/// The commands that names or keywords of the caller can make too long. All others are made of the names above.
constexpr char COUNT_LINES[] = "wc -l %s|awk '{print $1}'";
constexpr char COPY_LAST_LINES[] = "tail -n %d %s > %s";
constexpr char GREP_AND_SORT[] = "grep %s %s|sort -M > %s1 %s";

PrivateFile filterCache(CACHE_FILE);

/// Whether a file of ours has become somebody else's, or is gone: it is never answered then. Asked both before a
/// command reads the file and afterwards. Reports it.
bool ReportReplaced(bool isReplaced, const char* path) {
  if (isReplaced) Error("Err (%s:LogFilter): File %s was replaced by somebody else!\n", path);
  return isReplaced;
}

bool ReportReplaced(const PrivateFile& file) { return ReportReplaced(file.IsMade() && !file.IsOurs(), file.Path()); }

/// The same of a log, which is ours only if it is the merged one.
bool ReportReplaced(const char* logFile) { return ReportReplaced(IsForeignMergedLog(logFile), logFile); }

/// Passes on whether a command has written all of a file. Reports one cut short, as a full disk does it.
bool ReportCut(bool isWhole, const char* path) {
  if (!isWhole) Error("Err (%s:LogFilter): Can't write all of file %s!\n", path);
  return isWhole;
}

/// Number of lines of a file; 0 when they cannot be counted.
uint64_t CountFileLines(const char* path) { return ReadNumber(COUNT_LINES, path); }

/// Brings a range of lines (counted from 1, inclusive; 0 for the first and the last line) within `total` lines and
/// stores how many it holds, 0 for none. Returns 1 when it begins after its end, else 0.
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

/// The work files of one call: each step of the filter writes the output from the input, whose place it then takes.
class WorkFiles {
 public:
  explicit WorkFiles(long number) : input_(WORK_FILE_PREFIX, number), output_(WORK_FILE_PREFIX, number, "1") {}

  /// The input's path; the output's is this one and "1".
  const char* Path() const { return input_.Path(); }
  const char* OutputPath() const { return output_.Path(); }

  /// Makes the input a copy of the cache.
  void CopyCache() {
    if (ReportReplaced(filterCache) || !input_.Make()) return;
    RunCommand("cp -f %s %s", CACHE_FILE, Path());
    if (!ReportReplaced(filterCache) && ReportCut(SizeOf(Path()) >= SizeOf(CACHE_FILE), Path())) return;
    input_.Remove();
  }

  bool IsMade() const { return input_.IsMade(); }

  /// Lines of the input. One that could not be made has none: what may stand under its name is somebody else's.
  uint64_t CountLines() const {
    if (!IsMade() || ReportReplaced(input_)) return 0;
    const uint64_t lines = CountFileLines(Path());
    // One that is gone is reported when it is opened next.
    return access(Path(), F_OK) == 0 && ReportReplaced(input_) ? 0 : lines;
  }

  /// Makes the input or the output, empty and private, for a command to write. Throws 1 when it cannot be made.
  void MakeInput() { MakeOrThrow(input_); }
  void MakeOutput() { MakeOrThrow(output_); }

  /// Whether the output, made of the input, is still ours and has at least as many bytes, or as many lines as are
  /// given.
  bool IsOutputWhole() const { return !ReportReplaced(output_) && SizeOf(output_.Path()) >= SizeOf(Path()); }
  bool HasOutputLines(uint64_t lines) const { return !ReportReplaced(output_) && HasLines(output_.Path(), lines); }
  /// Whether the input, made anew of the output, has at least as many bytes.
  bool IsInputWhole() const { return SizeOf(Path()) >= SizeOf(output_.Path()); }

  /// To be called once a command was told to move the output to the input's place. Returns whether it did.
  bool IsMoved() { return input_.Become(output_); }

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
bool Fits(const char* logFile, const char* keyword, const char* input) {
  return strlen(logFile) < lastFilteredLog.size() && CommandFits(COUNT_LINES, logFile) &&
         CommandFits(COPY_LAST_LINES, LOG_MAX_LINES, logFile, CACHE_FILE) &&
         (keyword == nullptr || CommandFits(GREP_AND_SORT, keyword, input, input, QUIET));
}

/// Makes the filter cache a copy of the log. Returns whether it is whole.
bool FillCache(const char* logFile) {
  const CopiedLog copied(logFile);
  const uint64_t lines = CountFileLines(logFile);
  if (ReportReplaced(logFile) || !filterCache.Make()) return false;
  const bool isFinished = EndsWithNewline(logFile);
  bool isWhole = false;
  if (lines <= uint64_t{LOG_MAX_LINES}) {
    RunCommand("cp -f %s %s", logFile, CACHE_FILE);
    isWhole = SizeOf(CACHE_FILE) >= copied.LeastSize();
  } else {
    RunCommand(COPY_LAST_LINES, LOG_MAX_LINES, logFile, CACHE_FILE);
    Warning("Warn (%s:LogFilter): Log file is too big, filter last %d lines!\n", LOG_MAX_LINES);
    // The newest line may be one that the log had not finished before.
    isWhole = HasLines(CACHE_FILE, isFinished ? LOG_MAX_LINES : LOG_MAX_LINES - 1);
  }
  return !ReportReplaced(logFile) && !ReportReplaced(filterCache) && ReportCut(isWhole, CACHE_FILE);
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
uint64_t CountSelected(WorkFiles& files, const char* keyword, uint64_t* begin, uint64_t* end) {
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
  const bool isWhole = ReportCut(keyword != nullptr || files.IsOutputWhole(), files.OutputPath());
  RunCommand("mv -f %s1 %s %s", input, input, QUIET);
  if (!files.IsMoved() || !isWhole) files.MakeInput();
}

// A day of the month that is padded with a blank gets a zero instead, on the way from the input to the output.

/// Pads all lines. Returns whether the output has them all.
bool PadAll(WorkFiles& files) {
  const char* input = files.Path();
  files.MakeOutput();
  RunCommand("sed 's/^\\(....\\) /\\10/' %s > %s1", input, input);
  return files.IsOutputWhole();
}

/// Pads the lines from `first` to `last`. Returns whether the output has them all.
bool PadRange(WorkFiles& files, uint64_t first, uint64_t last) {
  const char* input = files.Path();
  files.MakeOutput();
  RunCommand("sed -n '%ld,%ldp' %s|sed 's/^\\(....\\) /\\10/' > %s1", static_cast<long>(first), static_cast<long>(last),
             input, input);
  return files.HasOutputLines(last - first + 1);
}

/// Sorts the output into the input, newest line first. Returns whether the input has all of it.
bool SortBack(WorkFiles& files) {
  files.MakeInput();  // empty, so that unsorted lines are not taken for the result where the sort fails
  RunCommand("sort -M -r %s1 > %s %s", files.Path(), files.Path(), QUIET);
  return files.IsInputWhole();
}

/// Writes the lines wanted into the input, newest first, and returns their number, which is 0 for an empty range.
/// Throws 1 when there is nothing to list, or not all of it.
uint64_t WriteResult(WorkFiles& files, const char* keyword, int sortFirst, uint64_t* begin, uint64_t* end) {
  SelectAndSort(files, keyword, sortFirst);
  const uint64_t lines = files.CountLines();
  if (lines == 0) {
    Debug("Dbg (%s:LogFilter): empty file!\n");
    throw 1;
  }
  uint64_t wanted = lines;
  bool isWhole = false;
  if (begin == nullptr || end == nullptr) {
    isWhole = PadAll(files);
  } else {
    CompareRange(begin, end, lines, &wanted);
    if (wanted == 0) return 0;
    const uint64_t first = lines - *end + 1;
    const uint64_t last = lines - *begin + 1;
    *begin = first;
    *end = last;
    isWhole = PadRange(files, first, last);
  }
  isWhole = isWhole && SortBack(files);
  RunCommand("rm -f %s1 %s", files.Path(), QUIET);
  const uint64_t listed = isWhole ? files.CountLines() : 0;
  if (listed < wanted) {
    Error("Err (%s:LogFilter): File format error, can not sort, please check log format.!\n");
    throw 1;
  }
  return listed;
}

}  // namespace

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
  if (ReportReplaced(logFile)) return 0;
  if (RefreshCache(logFile)) files.CopyCache();
  if (resultFile != nullptr) resultFile[0] = '\0';
  try {
    if (resultFile == nullptr) return CountSelected(files, keyword, begin, end);
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

void RemoveLeftWorkFiles() { RemoveTemporaryFiles(WORK_FILE_PREFIX); }
