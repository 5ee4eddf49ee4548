/// logfilter.h: counts a text log, or cuts a range of it into a file, newest line first, with shell commands.
///
/// A log that is no plain file (see platform/filestatus.h) is answered like a missing one. After each command its
/// output is checked for the bytes or lines that it must have: half an output is none.
///
/// Two files are at work. The filter cache holds a copy of the log filtered last, or of its last LOG_MAX_LINES lines; a
/// host that pages through one log sees it as it was when the first page was asked for, until another log is filtered
/// or the cache is gone. The work file belongs to one call; in the output mode it is handed to the caller.
#ifndef KESTRUNE_TEXTLOG_LOGFILTER_H_
#define KESTRUNE_TEXTLOG_LOGFILTER_H_

#include <cstddef>
#include <cstdint>

/// Lines of a log that are looked at, from its end.
inline constexpr int LOG_MAX_LINES = 30000;

/// Bytes that `resultFile` of LogFilter must have: "/tmp/__log__tmp", a point, ten digits and a NUL.
inline constexpr size_t RESULT_FILE_SIZE = 27;

/// Number of lines of a file; 0 when they cannot be counted.
uint64_t CountFileLines(const char* path);

/// Brings a range of lines (counted from 1, inclusive; 0 for the first and the last line) within `total` lines and
/// stores how many it holds, 0 for none. Returns 1 when it begins after its end, else 0.
int CompareRange(uint64_t* begin, uint64_t* end, uint64_t total, uint64_t* count);

/// Filters `logFile`: to the lines that match `keyword` (a grep pattern pasted into the command line as it is, or
/// null), and to the range of `begin` and `end` if both are given.
///
/// Count mode (`resultFile` null): returns the number of lines; the range is brought within them.
/// Output mode: names a file of the lines, newest first, in `resultFile` (RESULT_FILE_SIZE bytes) and returns their
/// number. The caller removes the file. The range counts from the newest line, the log being sorted by month before if
/// `sortFirst` is non-zero; it is left as the same lines counted from the log's start. When there is nothing to list,
/// `resultFile` is the empty string.
///
/// Returns 0 for a log that is missing or empty, and for every failure, with `resultFile` untouched if the log could
/// not be read at all. Names that do not fit a command line are refused.
uint64_t LogFilter(const char* logFile, const char* keyword, char* resultFile, int sortFirst, uint64_t* begin,
                   uint64_t* end);

/// Removes the filter cache, if it is this process's own. Returns 0, or -1 when there was nothing to remove.
int CleanTmpFile();

/// Removes the work files of processes that were killed. The caller holds the lock between processes.
void RemoveLeftWorkFiles();

#endif  // KESTRUNE_TEXTLOG_LOGFILTER_H_
