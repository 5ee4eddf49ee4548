#include "textlog/logfilter.h"

#include <stdlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "platform/message.h"
#include "platform/privatefile.h"
#include "platform/shell.h"

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

/// The work files of one call: each step of the filter writes the second from the first, which then takes its place.
class WorkFiles {
 public:
  explicit WorkFiles(long number) : work_(WORK_FILE_PREFIX, number), second_(WORK_FILE_PREFIX, number, "1") {}

  const char* Path() const { return work_.Path(); }

  /// Makes the work file a copy of the cache.
  void CopyCache() {
    if (!ClearName(Path()) || !filterCache.IsOurs() || !IsReadable(CACHE_FILE) || !work_.Make()) return;
    RunCommand("cp -f %s %s", CACHE_FILE, Path());
    if (SizeOf(Path()) < SizeOf(CACHE_FILE)) work_.Remove();  // cut short: no room for it
  }

  bool IsMade() const { return work_.IsMade(); }

  /// Lines of the work file. One that could not be made has none: what may stand under its name is somebody else's.
  uint64_t CountLines() const { return IsMade() ? CountFileLines(Path()) : 0; }

  /// Makes the work file or the second one, empty and private, for a command to write. Throws 1 when it cannot be made.
  void MakeFirst() { MakeOrThrow(work_); }
  void MakeSecond() { MakeOrThrow(second_); }

  /// Whether the second file holds at least as much as the work file, of which it was made.
  bool IsSecondWhole() const { return SizeOf(second_.Path()) >= SizeOf(Path()); }

  /// The caller of the filter removes the work file.
  void HandOn() { work_.HandOn(); }

 private:
  static void MakeOrThrow(TemporaryFile& file) {
    if (!file.Make()) throw 1;
  }

  TemporaryFile work_;
  TemporaryFile second_;
};

/// Whether the names fit every command that the filter may make of them, and its buffers.
bool Fits(const char* logFile, const char* keyword, const char* work) {
  return strlen(logFile) < lastFilteredLog.size() && CommandFits(COUNT_LINES, logFile) &&
         CommandFits(COPY_LAST_LINES, LOG_MAX_LINES, logFile, CACHE_FILE) &&
         (keyword == nullptr || CommandFits(GREP_AND_SORT, keyword, work, work, QUIET));
}

/// Whether a file has as many newlines.
bool HasLines(const char* path, int lines) {
  const File file = OpenForReading(path);
  std::array<char, 4096> piece{};
  while (file != nullptr && lines > 0) {
    const size_t size = fread(piece.data(), 1, piece.size(), file.get());
    if (size == 0) break;
    lines -= static_cast<int>(std::count(piece.begin(), piece.begin() + size, '\n'));
  }
  return lines <= 0;
}

/// Brings the filter cache up to date if it belongs to another log or is gone.
void RefreshCache(const char* logFile) {
  const bool isSameLog = strcmp(logFile, lastFilteredLog.data()) == 0;
  if (isSameLog && filterCache.IsOurs() && IsReadable(CACHE_FILE)) return;
  memcpy(lastFilteredLog.data(), logFile, strlen(logFile) + 1);
  const off_t before = SizeOf(logFile);
  const uint64_t lines = CountFileLines(logFile);
  if (!filterCache.Make()) return;
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
  // A copy cut short is no copy: the log is read again next time.
  if (!isWhole) ClearName(CACHE_FILE);
}

/// The count mode. Throws 1 when the work files cannot be made.
uint64_t CountLines(WorkFiles& files, const char* keyword, uint64_t* begin, uint64_t* end) {
  if (keyword != nullptr && files.IsMade()) {
    const char* work = files.Path();
    files.MakeSecond();
    RunCommand("grep %s %s > %s1", keyword, work, work);
    RunCommand("mv -f %s1 %s", work, work);
  }
  uint64_t lines = files.CountLines();
  if (lines != 0 && begin != nullptr && end != nullptr) {
    CompareRange(begin, end, lines, &lines);
  }
  return lines;
}

/// First step of the output mode: the keyword and the sort by month.
void SelectAndSort(WorkFiles& files, const char* keyword, int sortFirst) {
  if ((keyword == nullptr && sortFirst == 0) || !files.IsMade()) return;
  files.MakeSecond();
  const char* work = files.Path();
  if (keyword == nullptr) {
    RunCommand("sort -M %s > %s1 %s", work, work, QUIET);
  } else if (sortFirst != 0) {
    RunCommand(GREP_AND_SORT, keyword, work, work, QUIET);
  } else {
    RunCommand("grep %s %s > %s1 %s", keyword, work, work, QUIET);
  }
  const bool isWhole = keyword != nullptr || files.IsSecondWhole();
  RunCommand("mv -f %s1 %s %s", work, work, QUIET);
  if (!isWhole) files.MakeFirst();
}

/// Writes the lines wanted into the work file, newest first, and returns their number, which is 0 for an empty range.
/// Throws 1 when there is nothing to list.
uint64_t WriteResult(WorkFiles& files, const char* keyword, int sortFirst, uint64_t* begin, uint64_t* end) {
  const char* work = files.Path();
  SelectAndSort(files, keyword, sortFirst);
  const uint64_t lines = files.CountLines();
  if (lines == 0) {
    Debug("Dbg (%s:LogFilter): empty file!\n");
    throw 1;
  }
  uint64_t wanted = lines;
  // A day of the month that is padded with a blank gets a zero instead.
  if (begin == nullptr || end == nullptr) {
    files.MakeSecond();
    RunCommand("sed 's/^\\(....\\) /\\10/' %s > %s1", work, work);
  } else {
    CompareRange(begin, end, lines, &wanted);
    if (wanted == 0) return 0;
    const uint64_t first = lines - *end + 1;
    const uint64_t last = lines - *begin + 1;
    *begin = first;
    *end = last;
    files.MakeSecond();
    RunCommand("sed -n '%ld,%ldp' %s|sed 's/^\\(....\\) /\\10/' > %s1", static_cast<long>(first),
               static_cast<long>(last), work, work);
  }
  files.MakeFirst();  // so that nothing unsorted is left in it
  RunCommand("sort -M -r %s1 > %s %s", work, work, QUIET);
  RunCommand("rm -f %s1 %s", work, QUIET);
  const uint64_t listed = files.CountLines();
  if (listed < wanted) {  // none, or cut short
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
  RefreshCache(logFile);
  files.CopyCache();
  if (resultFile != nullptr) resultFile[0] = '\0';
  try {
    if (resultFile == nullptr) return CountLines(files, keyword, begin, end);
    const uint64_t lines = WriteResult(files, keyword, sortFirst, begin, end);
    if (lines == 0) return 0;
    files.HandOn();
    snprintf(resultFile, RESULT_FILE_SIZE, "%.*s", static_cast<int>(RESULT_FILE_SIZE - 1), files.Path());
    return lines;
  } catch (...) {
    return 0;
  }
}

int CleanTmpFile() { return remove(CACHE_FILE); }
