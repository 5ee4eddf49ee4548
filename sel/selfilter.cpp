#include "sel/selfilter.h"

#include <stdlib.h>

#include <algorithm>
#include <memory>
#include <new>

#include "platform/filestatus.h"
#include "platform/message.h"
#include "platform/privatefile.h"
#include "platform/shell.h"
#include "sel/selcache.h"
#include "sel/selline.h"
#include "sel/sellogfile.h"

namespace {

constexpr char COPY_PREFIX[] = "/tmp/__sellog__tmp";
constexpr char COPY_COMMAND[] = "cp -f %s %s 2>/dev/null";

/// Positions from `first` to `last`, or none when either is 0.
struct Positions {
  uint64_t first = 0;
  uint64_t last = 0;

  uint64_t Count() const { return first == 0 || last == 0 ? 0 : last - first + 1; }
};

/// What a request selects: positions among the cache's entries, and among the file's records, counted from their ends.
struct Selection {
  Positions cache;
  Positions file;

  uint64_t Count() const { return cache.Count() + file.Count(); }
};

/// Selects a range of a list of `inCache` entries, followed by `inFile` records. Throws 1 when it begins after its end.
Selection Select(uint64_t inCache, uint64_t inFile, const uint64_t* begin, uint64_t* end) {
  Selection selection;
  if (begin == nullptr || end == nullptr) {
    if (inCache != 0) selection.cache = {1, inCache};
    if (inFile != 0) selection.file = {1, inFile};
    return selection;
  }
  if (*begin > *end) {
    Output(OUTPUT_DEBUG, "Dbg (SELLogFilter): The log range is wrong!\n");
    throw 1;
  }
  const uint64_t total = inCache + inFile;
  uint64_t first = *begin;
  if (first == 0) {
    first = 1;
    if (*end == 0) *end = total;
  }
  if (first > total) {
    Output(OUTPUT_DEBUG, "Dbg (SELLogFilter): Out of SEL log range!\n");
    return selection;
  }
  *end = std::min(*end, total);
  if (first <= inCache) selection.cache = {first, std::min(*end, inCache)};
  if (*end > inCache) selection.file = {std::max(first, inCache + 1) - inCache, *end - inCache};
  return selection;
}

/// The lines of a request, each SEL_LINE_SIZE bytes at most.
class SELText {
 public:
  /// Throws 1 when there is no memory for `lines` lines.
  explicit SELText(uint64_t lines) : text_(new (std::nothrow) char[lines * SEL_LINE_SIZE + 1]) {
    if (text_ == nullptr) {
      Error("Err (%s:ReadSELData): Can't allocate memory!\n");
      throw 1;
    }
    text_[0] = '\0';
  }

  void Append(char origin, const SELRecord& record) {
    used_ += WriteSELLine(origin, record, text_.get() + used_);
    ++lines_;
  }

  uint64_t Lines() const { return lines_; }
  char* HandOver() { return text_.release(); }

 private:
  std::unique_ptr<char[]> text_;
  size_t used_ = 0;
  uint64_t lines_ = 0;
};

/// Appends the records at `positions` of a copy of `total` records.
void AppendFromFile(SELText& text, const TemporaryFile& copy, uint64_t total, Positions positions) {
  try {
    const uint64_t count = positions.Count();
    const std::unique_ptr<SELRecord[]> records = ReadSELLogFile(copy, total - positions.last, count);
    for (uint64_t i = count; i-- > 0;) {
      if (records[i].at(RECORD_FORMAT) == RECORD_FORMAT_IPMI) {
        text.Append(SEL_FROM_FILE, records[i]);
      } else {
        Debug("Dbg (%s:ReadSELLogFile): Unknow SEL entry format, may have bug!\n");
      }
    }
  } catch (...) {
    Debug("Dbg (%s:ReadSELData): Try to read SEL log file failed!\n");
    throw;
  }
}

}  // namespace

/// Builds the text of a selection. Throws when that fails.
static SELText ReadSELData(const Selection& selection, const TemporaryFile& copy, uint64_t inFile) {
  try {
    SELText text(selection.Count());
    if (selection.cache.Count() != 0) {
      const size_t size = g_vSELDataCache.size();
      for (uint64_t k = selection.cache.first; k <= selection.cache.last; ++k) {
        text.Append(SEL_FROM_CONTROLLER, g_vSELDataCache[size - k].abyRecord);
      }
    }
    if (selection.file.Count() != 0) AppendFromFile(text, copy, inFile, selection.file);
    return text;
  } catch (...) {
    Error("Err (%s:SELLogFilter): Read SEL data error!\n");
    throw;
  }
}

namespace {

/// Copies the SEL log file, so that its writer cannot change it between check and read.
void CopyLogFile(const char* file, TemporaryFile& copy) {
  if (IsFileExist(file) != 0 && !IsPlainFile(file)) return;  // counts as missing: to copy it may never end
  if (!CommandFits(COPY_COMMAND, file, copy.Path()) || !copy.Make()) return;
  RunCommand(COPY_COMMAND, file, copy.Path());
  // A file that is missing must be found missing.
  if (!IsReadable(file) && SizeOf(copy.Path()) == 0) copy.Remove();
}

}  // namespace

uint64_t SELLogFilter(const char* file, char** out, uint64_t* begin, uint64_t* end) {
  TemporaryFile copy(COPY_PREFIX, random());
  if (file == nullptr) {
    Error("Err (%s:SELLogFilter): Parameter error!\n");
    return 0;
  }
  CopyLogFile(file, copy);
  try {
    ReadBMCSELToCache();
    const uint64_t inFile = CheckSELLogFile(copy);
    const Selection selection = Select(g_uiSELCacheCount, inFile, begin, end);
    const uint64_t count = selection.Count();
    if (out == nullptr || count == 0) return count;
    SELText text = ReadSELData(selection, copy, inFile);
    *out = text.HandOver();
    return text.Lines();
  } catch (...) {
    return 0;
  }
}

void RemoveLeftCopies() { RemoveTemporaryFiles(COPY_PREFIX); }
