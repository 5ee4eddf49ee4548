#include "standin/follow/newitems.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace standin {
namespace {

/// Whether the lists go on alike from these places.
bool IsSameChain(const Keys& seen, size_t seenPlace, const Keys& listed, size_t place) {
  const size_t length = std::min({CHAIN, seen.size() - seenPlace, listed.size() - place});
  if (length == 1 && seenPlace > 0) return false;
  return std::equal(seen.begin() + static_cast<std::ptrdiff_t>(seenPlace),
                    seen.begin() + static_cast<std::ptrdiff_t>(seenPlace + length),
                    listed.begin() + static_cast<std::ptrdiff_t>(place));
}

}  // namespace

size_t CountNew(const Keys& seen, const Keys& listed) {
  std::unordered_multimap<std::string, size_t> places;
  for (size_t i = 0; i < seen.size(); ++i) places.emplace(seen[i], i);
  for (size_t place = 0; place < listed.size(); ++place) {
    const auto [begin, end] = places.equal_range(listed[place]);
    if (std::any_of(begin, end, [&](const auto& each) { return IsSameChain(seen, each.second, listed, place); })) {
      return place;
    }
  }
  return listed.size();
}

bool SeenLines::Note(const std::string& key) {
  const size_t hash = std::hash<std::string>()(key);
  const auto before = before_.find(hash);
  return ++listed_[hash] > (before == before_.end() ? 0 : before->second);
}

void SeenLines::EndList(bool isWhole) {
  if (!isWhole) {
    for (const auto& [hash, count] : before_) listed_[hash] = std::max(listed_[hash], count);
  }
  before_ = std::exchange(listed_, {});
}

}  // namespace standin
