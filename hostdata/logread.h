/// logread.h: what the property read and the config-item reads share: counting a log's records, and getting them ready
/// to be filled into items. Text logs go through LogFilter, the SEL through SELLogFilter.
#ifndef KESTRUNE_HOSTDATA_LOGREAD_H_
#define KESTRUNE_HOSTDATA_LOGREAD_H_

#include <array>
#include <cstdint>
#include <memory>

#include "hostdata/catalogue.h"
#include "kestrune/kestrune.h"
#include "platform/shell.h"

/// Brings the merged application log up to date.
void MergeApplicationLog();

/// Whether the log answers as an empty one without being looked at: the SEL while its store is not started.
bool IsUnavailable(const LogSource& log);

/// The number of records of a log, or of those in a range; 0 for a missing or unavailable one. `begin` and `end` are
/// both null for the whole log; otherwise the range is brought within the log in place.
uint64_t CountRecords(const LogSource& log, int sortFirst, uint64_t* begin, uint64_t* end);

/// The filter's output for one log or a range of it: a temporary file or the SEL text, gone with this object.
class FilteredLog {
 public:
  /// Runs the filter. The range is as for CountRecords, and is left as the filter expresses it.
  FilteredLog(const LogSource& log, uint64_t* begin, uint64_t* end);
  ~FilteredLog();
  FilteredLog(const FilteredLog&) = delete;
  FilteredLog& operator=(const FilteredLog&) = delete;

  /// Number of records, 0 when the filter produced none.
  uint64_t Count() const { return count_; }

  /// Fills up to Count() items, numbered from `firstIndex` on. Returns 1, or 0 when nothing could be filled. To be
  /// called once. Throws std::bad_alloc with the items filled so far left behind.
  int Fill(tagCONFIGITEM* items, uint32_t firstIndex);

 private:
  const LogSource& log_;
  uint64_t count_ = 0;
  std::array<char, SHELL_LINE_SIZE> resultFile_{};
  std::unique_ptr<char[]> selText_;
};

#endif  // KESTRUNE_HOSTDATA_LOGREAD_H_
