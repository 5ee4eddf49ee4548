#include "standin/follow/followedmodule.h"

#include <unistd.h>

#include <algorithm>

#include "standin/logfiles.h"

namespace standin {

FollowedModule::FollowedModule(Session& session) : session_(session), appFiles_(Files(LOG_APPLICATION).size()) {}

void FollowedModule::Reload() {
  session_.Reload();
  lastTextLog_ = 0;
  knowsSEL_ = false;
  appFiles_ = std::max(appFiles_, Files(LOG_APPLICATION).size());
}

std::vector<std::string> FollowedModule::Files(uint16_t log) const { return FilesOf(log, *GetModule().AppLogList); }

/// Asks for another text log, the smallest one. Returns whether there was one.
bool FollowedModule::TurnAway(uint16_t log) const {
  uint16_t other = 0;
  off_t least = 0;
  for (const LogName& each : LOGS) {
    if (each.id == log || each.id == LOG_APPLICATION || each.id == LOG_SEL) continue;
    const std::string file = Files(each.id).front();
    const FileState state = LookAt(file);
    if (state.number == 0 || access(file.c_str(), R_OK) != 0 || (other != 0 && state.size >= least)) continue;
    other = each.id;
    least = state.size;
  }
  if (other != 0) CountRecords(GetModule(), other);
  return other != 0;
}

uint32_t FollowedModule::CountAnew(uint16_t log) {
  if (log == LOG_SEL) {
    knowsSEL_ = true;
    return CountRecords(GetModule(), log);
  }
  // A start finds out which files the application log has, and one that is just being rotated is missing then.
  const bool lacksFile = log == LOG_APPLICATION && Files(log).size() < appFiles_;
  const bool isStale = lastTextLog_ == log && (!knowsSEL_ || !TurnAway(log));
  if (lacksFile || isStale) Reload();
  lastTextLog_ = log;
  return CountRecords(GetModule(), log);
}

std::vector<Row> FollowedModule::ReadRange(uint16_t log, uint32_t begin, uint32_t end) const {
  return ReadLog(GetModule(), log, Lines{begin, end}, session_.GetKeeper()).rows;
}

}  // namespace standin
