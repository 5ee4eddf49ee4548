/// memory.h: counts what the process, the module included, holds from operator new.
#ifndef KESTRUNE_BENCH_MEMORY_H_
#define KESTRUNE_BENCH_MEMORY_H_

#include <cstdint>

namespace bench {

/// While an object lives, counts bytes beyond those held at its start. One at a time, and one thread.
class MemoryCount {
 public:
  MemoryCount();
  ~MemoryCount();
  MemoryCount(const MemoryCount&) = delete;
  MemoryCount& operator=(const MemoryCount&) = delete;

  int64_t Held() const;
  int64_t Peak() const;
};

}  // namespace bench

#endif  // KESTRUNE_BENCH_MEMORY_H_
