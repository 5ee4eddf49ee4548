#include "standin/follow/follow.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "standin/diagnosis.h"
#include "standin/failure.h"
#include "standin/follow/followedmodule.h"
#include "standin/follow/recordstream.h"
#include "standin/follow/selfollower.h"
#include "standin/follow/textfollower.h"
#include "standin/signals.h"
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
      throw Failure(REQUEST_FAILED, std::string("this log is not offered: ") + WhyMissing(log.id));
    }
  }
  if (logs.empty()) throw Failure(REQUEST_FAILED, "no log is offered; kestrune-host logs --all tells why");
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

/// Waits for the next look. Returns false when a signal came, or nobody reads standard output any more.
bool Wait(std::chrono::seconds time) {
  SleepUndisturbed(time);
  pollfd output{STDOUT_FILENO, 0, 0};
  poll(&output, 1, 0);
  return NotedSignal() == 0 && (output.revents & POLLERR) == 0;
}

}  // namespace

void Follow(const FollowOptions& options, Session& session) {
  FollowedModule module(session);
  const std::vector<uint16_t> logs = ChooseLogs(session.GetModule(), options.logs);
  Table table{ColumnsOf(logs), {}};
  if (!options.columns.empty()) ChooseColumns(table, options.columns);
  RecordStream stream(table.columns, options.format);
  std::vector<std::unique_ptr<Follower>> followers;
  for (const uint16_t log : logs) {
    followers.push_back(MakeFollower(module, log));
    for (const Row& row : followers.back()->Start(options.newest)) stream.Write(row);
  }
  while (Wait(options.interval)) {
    for (const auto& follower : followers) {
      for (const Row& row : follower->TakeNew()) stream.Write(row);
    }
  }
}

}  // namespace standin
