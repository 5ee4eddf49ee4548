/// items.h: what a host hands to a module for a log's items: the identifier of the log, and the array to be filled. The
/// entries that come back in the array are the host's to free.
#ifndef KESTRUNE_STANDIN_HOST_ITEMS_H_
#define KESTRUNE_STANDIN_HOST_ITEMS_H_

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "kestrune/kestrune.h"

namespace standin {

/// Identifiers in their two forms.
inline tagIDV Group(uint32_t id, uint32_t index = 0) {
  tagIDV identifier{};
  identifier.dwIDVType = IDV_CONFIGGROUP;
  identifier.id.group = {static_cast<uint16_t>(index), static_cast<uint16_t>(id)};
  return identifier;
}
inline tagIDV Type(uint32_t id, uint32_t index = 0) {
  tagIDV identifier{};
  identifier.dwIDVType = IDV_CONFIGTYPE;
  identifier.id.type = {index, id};
  return identifier;
}

/// An item that frees its entries.
struct Item : tagCONFIGITEM {
  Item() noexcept : tagCONFIGITEM{} {}
  Item(Item&& other) noexcept : tagCONFIGITEM(other) { other.pEntries = nullptr; }
  Item& operator=(Item&&) = delete;
  ~Item() { Free(); }

  void Free() { delete[] std::exchange(pEntries, nullptr); }

  /// The value of the entry with this ID, or null.
  tagVARIANT* Find(uint32_t id) const {
    for (uint32_t i = 0; i < dwEntryCount; ++i) {
      if (pEntries[i].dwEntryID == id) return &pEntries[i].varValue;
    }
    return nullptr;
  }
};
static_assert(sizeof(Item) == sizeof(tagCONFIGITEM));

/// Items that show which of them a module has filled.
class MarkedItems : public std::vector<Item> {
 public:
  explicit MarkedItems(size_t count) : vector(count) {
    for (Item& item : *this) item.dwIndex = item.dwID = item.dwEntryCount = MARK;
  }

  /// How many were filled, from the first one on, or nothing when an item after them is not as it was.
  std::optional<size_t> CountFilled() const {
    const auto isUntouched = [](const Item& item) {
      return item.pEntries == nullptr && item.dwIndex == MARK && item.dwID == MARK && item.dwEntryCount == MARK;
    };
    const auto rest = std::find_if(begin(), end(), isUntouched);
    if (!std::all_of(rest, end(), isUntouched)) return std::nullopt;
    return static_cast<size_t>(rest - begin());
  }

 private:
  static constexpr uint32_t MARK = 0xA5A5A5A5;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_ITEMS_H_
