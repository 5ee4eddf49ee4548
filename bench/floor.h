/// floor.h: the floor of a reply, below which no module can be: the entry arrays and strings, allocated and widened
/// byte by byte from text at hand.
#ifndef KESTRUNE_BENCH_FLOOR_H_
#define KESTRUNE_BENCH_FLOOR_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kestrune/kestrune.h"

namespace bench {

/// The host's array of items.
class HostItems {
 public:
  explicit HostItems(size_t capacity) : items_(capacity) {}
  ~HostItems() { Free(); }
  HostItems(const HostItems&) = delete;
  HostItems& operator=(const HostItems&) = delete;

  tagCONFIGITEM* Data() { return items_.data(); }
  size_t Capacity() const { return items_.size(); }

  /// Frees the entries of a reply.
  void Free();

 private:
  std::vector<tagCONFIGITEM> items_;
};

/// A reply's texts and numbers, and the floor that is built of them.
class Floor {
 public:
  /// Takes them from `items`, all filled, each with as many entries, and ASCII.
  explicit Floor(HostItems& items);

  /// Builds the same reply in `items`.
  void Build(HostItems& items) const;

 private:
  struct Entry {
    uint32_t id;
    bool is_text;
    int64_t number;
    size_t offset;
    size_t length;
  };
  std::string text_;
  std::vector<Entry> entries_;
};

}  // namespace bench

#endif  // KESTRUNE_BENCH_FLOOR_H_
