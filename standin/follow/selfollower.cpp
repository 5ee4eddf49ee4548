#include "standin/follow/selfollower.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

#include "standin/output/selrows.h"
#include "standin/signals.h"

namespace standin {
namespace {

/// Records listed beyond those that are expected to be new, so that the list joins on to what was seen.
constexpr uint32_t OVERLAP = 2 * CHAIN;

/// Keys that are remembered: those of a full controller, and an archive behind it.
constexpr size_t MOST_SEEN = size_t{2} * 65'536;

/// Looks after which a list without the host's copy of every record is taken as it is.
constexpr int PATIENCE = 3;

}  // namespace

std::string SELFollower::KeyOf(const Row& row) {
  const auto raw = row.fields.find("raw");
  if (raw != row.fields.end() && raw->is_string()) return raw->get<std::string>();
  std::string key;
  for (const char* field : {"date", "time", "sensor", "description"}) key += row.fields.value(field, "") + '\n';
  return key;
}

std::optional<SELFollower::Sources> SELFollower::Look() {
  const auto controller = module_.GetController().GetLogState();
  notice_.Say(module_.GetController().TakeProblem());
  if (!controller) return std::nullopt;
  return Sources{*controller, LookAt(module_.Files(LOG_SEL).front())};
}

/// Whether the module may take the controller's log for the one that it has read: modules tell another one by fewer
/// entries or another first one, and nothing else.
bool SELFollower::IsStale(const LogState& controller) const {
  return asked_ && controller != *asked_ &&
         (controller.erasure != asked_->erasure || controller.entries <= asked_->entries);
}

/// Whether no entry follows the newest one that was seen.
bool SELFollower::IsLastKnown() {
  constexpr size_t ID_DIGITS = 4;
  if (seen_.empty() || seen_.front().find_first_not_of("0123456789ABCDEF") != std::string::npos) return false;
  const auto bytes = std::stoul(seen_.front().substr(0, ID_DIGITS), nullptr, 16);
  tagSEL_DATA entry{static_cast<uint16_t>(bytes >> 8 | (bytes & 0xFF) << 8), 0, {}};
  return module_.GetController().ReadEntry(entry) && entry.wNextRecordID == SEL_LAST_ENTRY;
}

/// Whether the module has read the log to its end, and the host has its own copy of every record. While the log changes
/// under the list neither need be so; a part of it, without its newest records, must not be taken for the log.
bool SELFollower::IsWhole(const std::vector<Row>& rows, uint32_t entries) {
  const bool isWhole = module_.EntriesRead() >= entries && std::all_of(rows.begin(), rows.end(), [](const Row& row) {
                         return row.fields.value("raw", nlohmann::ordered_json()).is_string();
                       });
  looksInVain_ = isWhole ? 0 : looksInVain_ + 1;
  return isWhole || looksInVain_ >= PATIENCE;
}

/// The new ones of `count` records, newest first. The rest of the list is read where its newest part does not tell.
std::vector<Row> SELFollower::ListNew(uint32_t count) {
  const uint32_t added = count > lastCount_ ? count - lastCount_ : 0;
  for (uint32_t end = std::min(count, added + OVERLAP);; end = count) {
    std::vector<Row> rows;
    // Records that came since the count push the oldest ones of a range out of it; a list to the end has them all.
    if (end > 0) rows = module_.ReadRange(LOG_SEL, 1, end < count ? end : UINT32_MAX);
    // Records on their way into the archive may be in the controller still; the copy is no other record.
    std::unordered_set<std::string> known;
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [&known](const Row& row) {
                                return row.fields["raw"].is_string() && !known.insert(KeyOf(row)).second;
                              }),
               rows.end());
    Keys listed;
    std::transform(rows.begin(), rows.end(), std::back_inserter(listed), KeyOf);
    const size_t fresh = CountNew(seen_, listed);
    if (end < count && fresh + CHAIN > listed.size()) continue;
    rows.resize(fresh);
    if (rows.empty() || rows.back().fields["source"] != FROM_ARCHIVE) return rows;
    // Behind a log that was cleared, an archive of one record begins no chain. None comes to an archive a second time.
    known = {seen_.begin(), seen_.end()};
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [&known](const Row& row) {
                                return row.fields["source"] == FROM_ARCHIVE && row.fields["raw"].is_string() &&
                                       known.contains(KeyOf(row));
                              }),
               rows.end());
    return rows;
  }
}

std::vector<Row> SELFollower::TakeNew() {
  const auto sources = Look();
  if (!sources) return {};
  if (sources == last_) {
    if (!std::exchange(mayHideMore_, false) || IsLastKnown()) return {};
    module_.Reload();
  } else if (IsStale(sources->controller)) {
    module_.Reload();
    // A full log that loses its oldest record for each new one shows the second of the last, and no more.
    mayHideMore_ = true;
  }
  asked_ = sources->controller;
  last_.reset();
  const uint32_t count = module_.CountAnew(LOG_SEL);
  std::vector<Row> rows = ListNew(count);
  const std::string problem = module_.GetController().TakeProblem();
  notice_.Say(problem);
  // A signal ends the reading of a log before its end.
  if (!problem.empty() || NotedSignal() != 0 || !IsWhole(rows, sources->controller.entries)) return {};
  Keys seen;
  std::transform(rows.begin(), rows.end(), std::back_inserter(seen), KeyOf);
  seen.insert(seen.end(), seen_.begin(), seen_.end());
  seen.resize(std::min(seen.size(), MOST_SEEN));
  seen_ = std::move(seen);
  last_ = sources;
  lastCount_ = count;
  std::reverse(rows.begin(), rows.end());
  return rows;
}

std::vector<Row> SELFollower::Start(uint32_t newest) {
  std::vector<Row> rows = TakeNew();
  if (rows.size() > newest) rows.erase(rows.begin(), rows.end() - newest);
  return rows;
}

}  // namespace standin
