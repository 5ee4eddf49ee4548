#include "probe/protocol.h"

#include <map>
#include <mutex>
#include <tuple>

#include "probe/findings.h"

namespace probe {
namespace {

/// A list: the kind of its records and the log. Whoever counts all of a log may fetch it range by range.
using Key = std::tuple<Kind, uint64_t>;

Key KeyOf(const Request& request) { return {request.kind == Kind::RANGE ? Kind::ITEMS : request.kind, request.Log()}; }

/// What is known of one list since the start.
struct List {
  std::string firstCount;  ///< the first count that told of records; empty without one
  bool isFetched = false;
  bool isRefused = false;  ///< the last count
};

/// The count that was stored at an address, and for which list.
struct Stored {
  Key key;
  uint32_t count;
};

std::mutex mutex;
std::map<Key, List> lists;               // guarded by the mutex
std::map<const void*, Stored> storedAt;  // likewise
constexpr size_t STORED_MAX = 1024;      // a host that has each count elsewhere must not fill the memory

}  // namespace

void CheckTurn(const Request& request, const std::string& what) {
  if (!request.IsList() || request.count == nullptr || request.array == nullptr) return;
  const std::lock_guard lock(mutex);
  List& list = lists[KeyOf(request)];
  if (list.isRefused) Report(Rule::REFUSAL_IGNORED, what + " fetched, and its count had been refused");
  const auto stored = storedAt.find(request.count);
  if (stored != storedAt.end() && stored->second.key != KeyOf(request) && stored->second.count == *request.count &&
      list.firstCount.empty()) {
    Report(Rule::COUNT_OF_ANOTHER,
           what + " fetched with the count of another request, " + std::to_string(*request.count));
  }
}

void NoteAnswer(const Request& request, int32_t result, const std::string& what) {
  if (!request.IsList() || request.count == nullptr) return;
  const std::lock_guard lock(mutex);
  List& list = lists[KeyOf(request)];
  if (request.array != nullptr) {
    list.isFetched = true;
    list.isRefused = false;
    storedAt.erase(request.count);
    return;
  }
  list.isRefused = result == 0;
  if (result == 0 || *request.count == 0) return;
  if (list.firstCount.empty()) list.firstCount = what + " counted " + std::to_string(*request.count);
  if (storedAt.size() >= STORED_MAX) storedAt.clear();
  storedAt[request.count] = {KeyOf(request), *request.count};
}

void ReportUnfetched() {
  const std::lock_guard lock(mutex);
  for (const auto& [key, list] : lists) {
    if (!list.firstCount.empty() && !list.isFetched) {
      Report(Rule::COUNT_NOT_FETCHED, list.firstCount + " and never fetched");
    }
  }
  lists.clear();
  storedAt.clear();
}

}  // namespace probe
