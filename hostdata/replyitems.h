/// replyitems.h: the items of a reply while they are built. The host's array stays as it was until the whole reply is
/// sure; only then do the entries become the host's.
#ifndef KESTRUNE_HOSTDATA_REPLYITEMS_H_
#define KESTRUNE_HOSTDATA_REPLYITEMS_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kestrune/kestrune.h"

class ReplyItems {
 public:
  /// Throws std::bad_alloc.
  explicit ReplyItems(size_t count) : items_(count) {}
  ~ReplyItems() {
    for (const tagCONFIGITEM& item : items_) delete[] item.pEntries;
  }
  ReplyItems(const ReplyItems&) = delete;
  ReplyItems& operator=(const ReplyItems&) = delete;

  /// The items to fill, from the first on; an item counts as filled once it has entries.
  tagCONFIGITEM* Data() { return items_.data(); }

  /// Gives the filled items to the host's array, which has room for them all, and tells how many there are.
  uint32_t MoveTo(tagCONFIGITEM* items) {
    const auto unfilled = std::ranges::find(items_, nullptr, &tagCONFIGITEM::pEntries);
    const auto count = static_cast<uint32_t>(unfilled - items_.begin());
    std::copy(items_.begin(), unfilled, items);
    items_.clear();
    return count;
  }

 private:
  std::vector<tagCONFIGITEM> items_;
};

#endif  // KESTRUNE_HOSTDATA_REPLYITEMS_H_
