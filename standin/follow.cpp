#include "standin/follow.h"

#include <algorithm>
#include <memory>

#include "standin/failure.h"
#include "standin/followedmodule.h"
#include "standin/recordstream.h"
#include "standin/selfollower.h"
#include "standin/stopsignals.h"
#include "standin/textfollower.h"
#include "standin/timeline.h"

namespace standin {
namespace {

/// The logs to be followed, all that there are where none was named. Throws Failure for one that is not there.
std::vector<uint16_t> ChooseLogs(const Module& module, const std::vector<uint16_t>& named) {
  std::vector<uint16_t> logs;
  for (const LogName& log : LOGS) {
    const bool isNamed = std::find(named.begin(), named.end(), log.id) != named.end();
    if (!named.empty() && !isNamed) continue;
    if (OffersLog(module, log.id)) {
      logs.push_back(log.id);
    } else if (isNamed) {
      throw Failure(REQUEST_FAILED, std::string("the module does not offer the log '") + log.name + "' here");
    }
  }
  if (logs.empty()) throw Failure(REQUEST_FAILED, "the module offers no log here");
  return logs;
}

std::unique_ptr<Follower> MakeFollower(FollowedModule& module, uint16_t log) {
  if (log == LOG_SEL) return std::make_unique<SELFollower>(module);
  return std::make_unique<TextFollower>(module, log);
}

std::vector<Column> ColumnsOf(const std::vector<uint16_t>& logs) {
  if (logs.size() > 1) return TimelineColumns();
  return logs.front() == LOG_SEL ? SEL_COLUMNS : TEXT_COLUMNS;
}

}  // namespace

void Follow(const FollowOptions& options, Session& session) {
  StopSignals signals;
  FollowedModule module(session);
  const std::vector<uint16_t> logs = ChooseLogs(session.GetModule(), options.logs);
  Table table{ColumnsOf(logs), {}};
  if (options.columns) ChooseColumns(table, *options.columns);
  RecordStream stream(table.columns, options.format);
  std::vector<std::unique_ptr<Follower>> followers;
  for (const uint16_t log : logs) {
    followers.push_back(MakeFollower(module, log));
    for (const Row& row : followers.back()->Start(options.newest)) stream.Write(row);
  }
  while (signals.Wait(options.interval, true)) {
    for (const auto& follower : followers) {
      for (const Row& row : follower->TakeNew()) stream.Write(row);
    }
  }
}

}  // namespace standin
