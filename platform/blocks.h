/// blocks.h: work on a run of characters in blocks of a fixed size.
#ifndef KESTRUNE_PLATFORM_BLOCKS_H_
#define KESTRUNE_PLATFORM_BLOCKS_H_

#include <cstddef>

/// Calls `work` with where each block begins of those that cover `length` characters, SIZE of them at least. The last
/// one ends where they end, over part of the one before: a loop over the rest would run as often as the processor
/// cannot guess, and a block of known size becomes a vector instruction.
template <size_t SIZE, typename Work>
void ForEachBlock(size_t length, Work work) {
  for (size_t begin = 0; begin + SIZE < length; begin += SIZE) work(begin);
  work(length - SIZE);
}

#endif  // KESTRUNE_PLATFORM_BLOCKS_H_
