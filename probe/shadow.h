/// shadow.h: a note for any block of memory, found by its address in a few steps and without a lock: nearly every free
/// in the process looks for one and finds none.
#ifndef KESTRUNE_PROBE_SHADOW_H_
#define KESTRUNE_PROBE_SHADOW_H_

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace probe {

/// Notes of 64 bits by address; 0 is none. Blocks begin at multiples of 16. Memory for notes is made region by region
/// where blocks are, and stays until Clear. Where there is none to be had, blocks go without a note.
class Shadow {
 public:
  using Note = std::atomic<uint64_t>;

  /// The place of a block's note, or null where no block near it ever had one.
  Note* Find(uintptr_t block) const {
    if (block % GRANULE != 0) return nullptr;
    const uintptr_t region = block / REGION;
    for (size_t i = FirstPlace(region);; i = (i + 1) % PLACES) {
      const uintptr_t key = table_[i].key.load(std::memory_order_acquire);
      if (key == region) return &table_[i].notes.load(std::memory_order_relaxed)[block % REGION / GRANULE];
      if (key == 0) return nullptr;
    }
  }

  /// The place of a block's note, made if need be, or null.
  Note* Make(uintptr_t block);

  /// Calls `visit(block, note)` for each block that has a note.
  template <typename Visit>
  void ForEach(Visit visit) const {
    for (const Place& place : table_) {
      const uintptr_t region = place.key.load(std::memory_order_acquire);
      for (size_t i = 0; region != 0 && i < REGION / GRANULE; ++i) {
        Note& note = place.notes.load(std::memory_order_relaxed)[i];
        if (note.load(std::memory_order_relaxed) != 0) visit(region * REGION + i * GRANULE, note);
      }
    }
  }

  /// Gives all memory back. Nobody may be looking.
  void Clear();

 private:
  static constexpr size_t GRANULE = 16;
  static constexpr size_t REGION = 1 << 20;
  static constexpr size_t PLACES = 1 << 14;
  struct Place {
    std::atomic<uintptr_t> key;  ///< the region's number; set after its notes
    std::atomic<Note*> notes;
  };

  static size_t FirstPlace(uintptr_t region) { return region * 0x9E3779B97F4A7C15U >> 50; }

  std::array<Place, PLACES> table_{};
  size_t used_ = 0;  // guarded by the lock of Make
};

}  // namespace probe

#endif  // KESTRUNE_PROBE_SHADOW_H_
