#include "hostdata/logread.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "hostdata/fillitem.h"
#include "platform/filestatus.h"
#include "sel/selfilter.h"
#include "textlog/logfilter.h"
#include "textlog/logmerger.h"

FilterOutput::~FilterOutput() {
  if (szResultFile[0] != '\0') unlink(szResultFile.data());
}

uint64_t CountLog(const LogSource& log, int sortFirst, uint64_t* begin, uint64_t* end) {
  return log.pfnIsReady() ? log.pfnCount(log.pszPath, sortFirst, begin, end) : 0;
}

bool HasTextLog(const LogSource& log) { return IsFileExist(log.pszPath) != 0; }

bool HasApplicationLogs(const LogSource& /*log*/) { return AppLogList[0] != '\0'; }

bool HasSEL(const LogSource& /*log*/) { return IsSELReady(); }

bool IsAlwaysReady() { return true; }

bool IsSELReady() { return selEnable == 1; }

void NeedsNoUpdate() {}

void MergeApplicationLog() {
  // The merger cuts its list, so it gets one of its own.
  std::array<char, sizeof(AppLogList)> list{};
  std::copy(std::begin(AppLogList), std::end(AppLogList), list.begin());
  LogMerger(list.data(), FindLogSource(LOG_APPLICATION)->pszPath);
}

uint64_t CountTextLog(const char* path, int sortFirst, uint64_t* begin, uint64_t* end) {
  return LogFilter(path, nullptr, nullptr, sortFirst, begin, end);
}

uint64_t CountSEL(const char* path, int /*sortFirst*/, uint64_t* begin, uint64_t* end) {
  return SELLogFilter(path, nullptr, begin, end);
}

void FilterTextLog(const LogSource& log, FilterOutput& output, uint64_t* begin, uint64_t* end) {
  const uint64_t count = LogFilter(log.pszPath, nullptr, output.szResultFile.data(), log.nSortFirst, begin, end);
  output.ullCount = output.szResultFile[0] == '\0' ? 0 : count;
}

void FilterSEL(const LogSource& log, FilterOutput& output, uint64_t* begin, uint64_t* end) {
  char* text = nullptr;
  const uint64_t count = SELLogFilter(log.pszPath, &text, begin, end);
  output.pszText.reset(text);
  output.ullCount = text == nullptr ? 0 : count;
}

int FillTextLog(const LogSource& log, FilterOutput& output, tagCONFIGITEM* items, uint32_t firstIndex) {
  const char* file = output.szResultFile.data();
  return FillConfigItem(items, firstIndex, log.dwID, static_cast<uint32_t>(output.ullCount), file);
}

int FillSEL(const LogSource& log, FilterOutput& output, tagCONFIGITEM* items, uint32_t firstIndex) {
  return FillConfigItem(items, firstIndex, log.dwID, static_cast<uint32_t>(output.ullCount), output.pszText.get());
}
