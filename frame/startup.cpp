#include "frame/startup.h"

#include <stdlib.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "hostdata/catalogue.h"
#include "kestrune/kestrune.h"
#include "platform/filestatus.h"
#include "platform/host.h"
#include "platform/message.h"
#include "sel/selfilter.h"
#include "sel/selstore.h"
#include "textlog/logfilter.h"
#include "textlog/logmerger.h"

namespace {

/// Distributions that differ, by the host's codes.
constexpr int DIST_MONTH_SORT_NEEDS_C_LOCALE = 106;
constexpr int DIST_NEWS_LOGS = 103;

/// Files that may make up the application log, separated by blanks, in the order of merging.
constexpr char APP_LOG_CANDIDATES[] = "/var/log/maillog /var/log/spooler /var/log/cron";
constexpr char APP_LOG_CANDIDATES_NEWS[] =
    "/var/log/mail /var/log/news/news.crit /var/log/news/news.err /var/log/news/news.notice";
static_assert(sizeof(APP_LOG_CANDIDATES) <= sizeof(AppLogList));
static_assert(sizeof(APP_LOG_CANDIDATES_NEWS) <= sizeof(AppLogList));

/// Lists the candidates that exist in AppLogList.
void BuildAppLogList(int distribution) {
  const bool hasNewsLogs = distribution == DIST_MONTH_SORT_NEEDS_C_LOCALE || distribution == DIST_NEWS_LOGS;
  std::array<char, sizeof(AppLogList)> candidates{};
  snprintf(candidates.data(), candidates.size(), "%s", hasNewsLogs ? APP_LOG_CANDIDATES_NEWS : APP_LOG_CANDIDATES);
  memset(AppLogList, 0, sizeof(AppLogList));
  size_t length = 0;
  char* rest = nullptr;
  for (char* path = strtok_r(candidates.data(), " ", &rest); path != nullptr; path = strtok_r(nullptr, " ", &rest)) {
    if (IsFileExist(path) == 0) continue;
    // The whole list of candidates fits, so each part of it does.
    length += static_cast<size_t>(
        snprintf(AppLogList + length, sizeof(AppLogList) - length, length == 0 ? "%s" : " %s", path));
  }
}

void UnsetIfSet(const char* variable) {
  if (getenv(variable) != nullptr) unsetenv(variable);
}

}  // namespace

int IsOSSupported() {
  if (GeneralOSSupportChecking() <= 0) return 0;
  if (GetOSDist() != DIST_MONTH_SORT_NEEDS_C_LOCALE) return 1;
  Debug("Dbg (%s:IsOSSupported): Unset the LC_TIME and LC_CTYPE for the sort -M\n");
  UnsetIfSet("LC_TIME");
  UnsetIfSet("LC_CTYPE");
  return 1;
}

void RemoveLeftFiles() {
  RemoveLeftWorkFiles();
  RemoveLeftCopies();
}

int OnInitData() {
  Debug("Dbg (%s:OnInitData): Do Initialize!\n");
  ReserveConfigGroups();
  if (InitSELLog() != 0) {
    selEnable = 1;
    Debug("Dbg (%s:OnInitData): Init Sel OK!\n");
  } else {
    Debug("Dbg (%s:OnInitData): Err to InitSELLog\n");
  }
  BuildAppLogList(GetOSDist());
  BuildConfigGroups();
  return 1;
}

int OnUninitData() {
  Debug("Dbg (%s:OnUninitData): Do UnInitialize!\n");
  ClearConfigGroups();
  if (selEnable != 0) {
    UninitSELLog();
    selEnable = 0;
  }
  RemoveMergedLog();
  return CleanTmpFile();
}
