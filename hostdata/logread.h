/// logread.h: how logs are found, counted and read: the functions of the catalogue's rows, and what the property read
/// and the config-item reads do with them. Text logs go through LogFilter, the SEL through SELLogFilter.
#ifndef KESTRUNE_HOSTDATA_LOGREAD_H_
#define KESTRUNE_HOSTDATA_LOGREAD_H_

#include <array>
#include <cstdint>
#include <memory>

#include "hostdata/catalogue.h"
#include "kestrune/kestrune.h"
#include "platform/shell.h"

/// What a filter has delivered: a temporary file of lines, or a text of lines. The file is removed with the object.
struct FilterOutput {
  FilterOutput() = default;
  ~FilterOutput();
  FilterOutput(const FilterOutput&) = delete;
  FilterOutput& operator=(const FilterOutput&) = delete;

  uint64_t ullCount = 0;  ///< number of lines; 0 when nothing was delivered
  std::array<char, SHELL_LINE_SIZE> szResultFile{};
  std::unique_ptr<char[]> pszText;
};

/// The number of records of a log, or of those in a range; 0 for a missing one or one that is not ready. `begin` and
/// `end` are both null for the whole log; otherwise the range is brought within the log in place.
uint64_t CountLog(const LogSource& log, int sortFirst, uint64_t* begin, uint64_t* end);

// For the rows of the catalogue; LogSource tells what each kind of function does.
bool HasTextLog(const LogSource& log);
bool HasApplicationLogs(const LogSource& log);
bool HasSEL(const LogSource& log);
bool IsAlwaysReady();
bool IsSELReady();
void NeedsNoUpdate();
void MergeApplicationLog();
uint64_t CountTextLog(const char* path, int sortFirst, uint64_t* begin, uint64_t* end);
uint64_t CountSEL(const char* path, int sortFirst, uint64_t* begin, uint64_t* end);
void FilterTextLog(const LogSource& log, FilterOutput& output, uint64_t* begin, uint64_t* end);
void FilterSEL(const LogSource& log, FilterOutput& output, uint64_t* begin, uint64_t* end);
int FillTextLog(const LogSource& log, FilterOutput& output, tagCONFIGITEM* items, uint32_t firstIndex);
int FillSEL(const LogSource& log, FilterOutput& output, tagCONFIGITEM* items, uint32_t firstIndex);

#endif  // KESTRUNE_HOSTDATA_LOGREAD_H_
