#include "standin/follow.h"

#include <algorithm>
#include <memory>

#include "standin/failure.h"
#include "standin/followsession.h"
#include "standin/recordstream.h"
#include "standin/selfields.h"
#include "standin/selfollower.h"
#include "standin/stopsignals.h"
#include "standin/textfollower.h"

namespace standin {
namespace {

std::vector<std::unique_ptr<Follower>> MakeFollowers(FollowSession& session, const std::vector<uint16_t>& logs) {
  std::vector<std::unique_ptr<Follower>> followers;
  for (const uint16_t log : logs) {
    if (!OffersLog(session.GetModule(), log)) {
      throw Failure(REQUEST_FAILED, "the module does not offer the log '" + LogTitle(log) + "' here");
    }
    if (log == LOG_SEL) {
      followers.push_back(std::make_unique<SELFollower>(session));
    } else {
      followers.push_back(std::make_unique<TextFollower>(session, log));
    }
  }
  return followers;
}

/// The columns of one log, or those in which records of several stand below each other.
std::vector<Column> ColumnsOf(const FollowOptions& options) {
  if (options.logs.size() == 1) return options.logs.front() == LOG_SEL ? SEL_COLUMNS : TEXT_COLUMNS;
  std::vector<Column> columns{{"log"},  {"timestamp", false}, {"date"},   {"time"},
                              {"host"}, {"sensor", false},    {"source"}, {"message", true, true, "description"}};
  columns[4].stead = "sensor";
  columns.push_back({"description", false});
  for (const char* field : SEL_FIELDS) {
    if (std::string(field) != "timestamp") columns.push_back({field, false});
  }
  return columns;
}

}  // namespace

void Follow(const std::string& modulePath, const FollowOptions& options, RecordKeeper& keeper) {
  StopSignals signals;
  const bool followsSEL = std::find(options.logs.begin(), options.logs.end(), LOG_SEL) != options.logs.end();
  FollowSession session(modulePath, followsSEL, keeper);
  const std::vector<std::unique_ptr<Follower>> followers = MakeFollowers(session, options.logs);
  Table table{ColumnsOf(options), {}};
  if (options.columns) ChooseColumns(table, *options.columns);
  RecordStream stream(table.columns, options.format);
  for (const auto& follower : followers) {
    for (const Row& row : follower->Start(options.newest)) stream.Write(row);
  }
  while (signals.Wait(options.interval, true)) {
    for (const auto& follower : followers) {
      for (const Row& row : follower->TakeNew()) stream.Write(row);
    }
  }
}

}  // namespace standin
