#include "probe/shadow.h"

#include <sys/mman.h>

#include <mutex>

namespace probe {
namespace {

std::mutex mutex;

}  // namespace

Shadow::Note* Shadow::Make(uintptr_t block) {
  if (Note* note = Find(block); note != nullptr || block % GRANULE != 0) return note;
  {
    const std::lock_guard lock(mutex);
    // A table that is never full ends every search.
    if (Find(block) == nullptr && used_ < PLACES / 2) {
      const size_t size = REGION / GRANULE * sizeof(Note);
      void* notes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      if (notes == MAP_FAILED) return nullptr;
      size_t i = FirstPlace(block / REGION);
      while (table_[i].key != 0) i = (i + 1) % PLACES;
      table_[i].notes = static_cast<Note*>(notes);
      table_[i].key.store(block / REGION, std::memory_order_release);
      ++used_;
    }
  }
  return Find(block);
}

void Shadow::Clear() {
  for (Place& place : table_) {
    if (place.key.exchange(0) != 0) munmap(place.notes, REGION / GRANULE * sizeof(Note));
  }
  used_ = 0;
}

}  // namespace probe
