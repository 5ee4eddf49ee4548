/// blocks.h: work on a run of characters in blocks of a fixed size.
#ifndef KESTRUNE_PLATFORM_BLOCKS_H_
#define KESTRUNE_PLATFORM_BLOCKS_H_

#include <cstddef>

/// Calls `work` with where each block begins of those that cover `length` characters. `length` is SIZE at least: the
/// last block ends where they end, over part of the one before. So there is no loop over a rest, whose number of turns
/// the processor would guess wrong, and the work on a block, being of known size, becomes a few vector instructions.
template <size_t SIZE, typename Work>
void ForEachBlock(size_t length, Work work) {
  for (size_t begin = 0; begin + SIZE < length; begin += SIZE) work(begin);
  work(length - SIZE);
}

#endif  // KESTRUNE_PLATFORM_BLOCKS_H_
