#include "hostdata/logread.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "hostdata/fillitem.h"
#include "sel/selfilter.h"
#include "textlog/logfilter.h"
#include "textlog/logmerger.h"

void MergeApplicationLog() {
  // The merger cuts its list, so it gets one of its own.
  std::array<char, sizeof(AppLogList)> list{};
  std::copy(std::begin(AppLogList), std::end(AppLogList), list.begin());
  LogMerger(list.data(), FindLogSource(LOG_APPLICATION)->pszPath);
}

bool IsUnavailable(const LogSource& log) {
  return log.dwID == LOG_SEL && selEnable != 1;
}

uint64_t CountRecords(const LogSource& log, int sortFirst, uint64_t* begin, uint64_t* end) {
  if (IsUnavailable(log)) return 0;
  if (log.dwID == LOG_SEL) return SELLogFilter(log.pszPath, nullptr, begin, end);
  return LogFilter(log.pszPath, nullptr, nullptr, sortFirst, begin, end);
}

FilteredLog::FilteredLog(const LogSource& log, uint64_t* begin, uint64_t* end) : log_(log) {
  if (log.dwID == LOG_SEL) {
    char* text = nullptr;
    count_ = SELLogFilter(log.pszPath, &text, begin, end);
    selText_.reset(text);
    if (text == nullptr) count_ = 0;
  } else {
    count_ = LogFilter(log.pszPath, nullptr, resultFile_.data(), log.nSortFirst, begin, end);
    if (resultFile_[0] == '\0') count_ = 0;
  }
}

FilteredLog::~FilteredLog() {
  if (resultFile_[0] != '\0') unlink(resultFile_.data());
}

int FilteredLog::Fill(tagCONFIGITEM* items, uint32_t firstIndex) {
  const auto count = static_cast<uint32_t>(count_);
  if (log_.dwID == LOG_SEL) return FillConfigItem(items, firstIndex, log_.dwID, count, selText_.get());
  return FillConfigItem(items, firstIndex, log_.dwID, count, static_cast<const char*>(resultFile_.data()));
}
