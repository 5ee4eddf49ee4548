#include "standin/follow/textfollower.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <ratio>
#include <thread>
#include <utility>

namespace standin {
namespace {

/// Lines of a log that modules look at, from its end; and those from which on the lists are compared, so that a log is
/// known when it reaches that number.
constexpr uint32_t MOST_LINES = 30'000;
constexpr uint32_t LONG_LOG = 25'000;

/// Lines of a list that is compared that are asked for at a time.
constexpr uint32_t PAGE = 5'000;

/// A line of this length may be one that modules list as two items, of which the second takes another line's place; so
/// may one whose message is no text in the locale, and comes empty.
constexpr size_t SUSPICIOUS_LENGTH = 480;

constexpr const char* FIELDS[] = {"date", "time", "host", "source", "message"};

std::string KeyOf(const Row& row) {
  std::string key;
  for (const char* field : FIELDS) key += row.fields.value(field, "") + '\n';
  return key;
}

void Append(std::vector<Row>& rows, std::vector<Row> more) {
  rows.insert(rows.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

int64_t SecondOf(const std::vector<FileState>& files) {
  int64_t last = 0;
  for (const FileState& file : files) last = std::max(last, file.written / std::nano::den);
  return last;
}

int64_t Now() {
  return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::vector<FileState> LookAtAll(const std::vector<std::string>& paths) {
  std::vector<FileState> files;
  std::transform(paths.begin(), paths.end(), std::back_inserter(files), LookAt);
  return files;
}

bool AreContinued(const std::vector<FileState>& earlier, const std::vector<FileState>& later) {
  return std::equal(earlier.begin(), earlier.end(), later.begin(), later.end(), IsContinued);
}

bool HoldBytes(const std::vector<FileState>& files) {
  return std::any_of(files.begin(), files.end(), [](const FileState& file) { return file.size > 0; });
}

/// Waits until the second of the newest change is over: a module merges a file anew for a change of a later second.
std::vector<FileState> WaitForSecond(const std::vector<std::string>& paths) {
  std::vector<FileState> files = LookAtAll(paths);
  if (SecondOf(files) != Now()) return files;
  std::this_thread::sleep_until(std::chrono::system_clock::time_point(std::chrono::seconds(Now() + 1)) +
                                std::chrono::milliseconds(20));
  return LookAtAll(paths);
}

}  // namespace

/// Has the module take the log as it is now. Returns false when the log changed its file meanwhile.
bool TextFollower::TakeSnapshot(Snapshot& snapshot) {
  const bool isMerged = log_ == LOG_APPLICATION;
  const std::vector<std::string> paths = module_.Files(log_);
  snapshot.files = isMerged ? WaitForSecond(paths) : LookAtAll(paths);
  // What came later in the second of the last snapshot was not merged, and no later change has it merged.
  if (isMerged && isWrittenYet_ && SecondOf(snapshot.files) == SecondOf(last_.files)) module_.Reload();
  isWrittenYet_ = isMerged && SecondOf(snapshot.files) >= Now();
  snapshot.lines = module_.CountAnew(log_);
  if (module_.Files(log_) != paths) snapshot.files = LookAtAll(module_.Files(log_));
  // A log that is cut while it is copied is answered as empty.
  return AreContinued(snapshot.files, LookAtAll(module_.Files(log_))) &&
         (snapshot.lines > 0 || !HoldBytes(snapshot.files));
}

bool TextFollower::NeedsComparison(uint32_t lines) const { return log_ == LOG_APPLICATION || lines >= LONG_LOG; }

/// Lines `begin` to `end`, newest first, each as one item. A range in which a line may have become two is halved, until
/// it is that line alone, whose first item is delivered.
// NOLINTNEXTLINE(misc-no-recursion): as deep as a number of lines can be halved
std::vector<Row> TextFollower::ReadNewest(uint32_t begin, uint32_t end) const {
  if (begin > end) return {};
  std::vector<Row> rows = module_.ReadRange(log_, begin, end);
  const auto isSuspicious = [](const Row& row) {
    return KeyOf(row).size() >= SUSPICIOUS_LENGTH || row.fields.value("message", "").empty();
  };
  if (begin == end || std::none_of(rows.begin(), rows.end(), isSuspicious)) {
    if (rows.size() > end - begin + 1) rows.resize(end - begin + 1);
    return rows;
  }
  const uint32_t middle = begin + (end - begin) / 2;
  rows = ReadNewest(begin, middle);
  Append(rows, ReadNewest(middle + 1, end));
  return rows;
}

/// Lists all of the log beside the list before, or the newest part of it that holds `enough` new lines. Returns the new
/// ones, newest first.
std::vector<Row> TextFollower::Compare(uint32_t lines, uint32_t enough) {
  std::vector<Row> found;
  uint32_t begin = 1;
  for (; begin <= lines && found.size() < enough; begin += PAGE) {
    for (Row& row : module_.ReadRange(log_, begin, std::min(lines, begin + PAGE - 1))) {
      if (seen_.Note(KeyOf(row))) found.push_back(std::move(row));
    }
  }
  seen_.EndList(begin > lines);
  isCompared_ = true;
  return found;
}

std::vector<Row> TextFollower::Start(uint32_t newest) {
  TakeSnapshot(last_);
  std::vector<Row> rows;
  if (log_ != LOG_APPLICATION) rows = ReadNewest(1, std::min(newest, last_.lines));
  if (NeedsComparison(last_.lines)) {
    std::vector<Row> all = Compare(last_.lines, UINT32_MAX);
    all.resize(std::min<size_t>(all.size(), newest));
    if (log_ == LOG_APPLICATION) rows = std::move(all);
  }
  std::reverse(rows.begin(), rows.end());
  return rows;
}

std::vector<Row> TextFollower::TakeNew() {
  if (!isWrittenYet_ && LookAtAll(module_.Files(log_)) == last_.files) return {};
  Snapshot snapshot;
  if (!TakeSnapshot(snapshot)) return {};
  const bool isContinued = AreContinued(last_.files, snapshot.files);
  const bool isCounted = isContinued && snapshot.lines >= last_.lines && snapshot.lines < MOST_LINES;
  const uint32_t added = isCounted ? snapshot.lines - last_.lines : UINT32_MAX;
  std::vector<Row> rows;
  if (log_ != LOG_APPLICATION && (isCounted || !isContinued)) {
    rows = ReadNewest(1, std::min(added, snapshot.lines));
    if (isCounted && isCompared_) {
      for (const Row& row : rows) seen_.Note(KeyOf(row));
      seen_.EndList(false);
    } else if (NeedsComparison(snapshot.lines)) {
      Compare(snapshot.lines, UINT32_MAX);
    } else {
      isCompared_ = false;
    }
  } else if (isCompared_) {
    if (added > 0) rows = Compare(snapshot.lines, added);
  } else {
    // More came at once than modules look at, or lines went away: what is listed is taken as it stands.
    rows = ReadNewest(1, snapshot.lines > last_.lines ? snapshot.lines - last_.lines : snapshot.lines);
    Compare(snapshot.lines, UINT32_MAX);
  }
  last_ = std::move(snapshot);
  std::reverse(rows.begin(), rows.end());
  return rows;
}

}  // namespace standin
