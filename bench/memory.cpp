#include "bench/memory.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

bool counting = false;
int64_t held = 0;
int64_t peak = 0;

}  // namespace

namespace bench {

MemoryCount::MemoryCount() {
  held = peak = 0;
  counting = true;
}
MemoryCount::~MemoryCount() { counting = false; }
int64_t MemoryCount::Held() const { return held; }
int64_t MemoryCount::Peak() const { return peak; }

}  // namespace bench

// The other forms of new and delete end in these. Uncounted, they cost what those of the standard library do.

void* operator new(size_t size) {
  void* memory = malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  if (counting) [[unlikely]] {
    held += static_cast<int64_t>(malloc_usable_size(memory));
    peak = std::max(peak, held);
  }
  return memory;
}

void operator delete(void* memory) noexcept {
  if (counting) [[unlikely]]
    held -= static_cast<int64_t>(malloc_usable_size(memory));
  free(memory);
}

void operator delete(void* memory, size_t) noexcept { operator delete(memory); }
