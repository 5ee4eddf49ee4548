/// selfilter.h: the controller's records and those of the SEL log file as one list of text lines, newest first.
/// The lines are described in sel/selline.h.
#ifndef KESTRUNE_SEL_SELFILTER_H_
#define KESTRUNE_SEL_SELFILTER_H_

#include <cstdint>

/// Counts or lists the records at positions `begin` to `end` (from 1, inclusive; both null for all). Positions run
/// through the controller's records, newest first, and then through those of `file`, newest first.
///
/// With a null `out` it returns the number of positions. Otherwise it returns the number of lines, which is less where
/// records of the file are of an unknown kind, and, if any position was selected, hands over the text in `*out`, an
/// array that the caller frees with array delete. `*end` is brought within the list (where begin is 0 too, an end of 0
/// stands for the last position); `*begin` stays. Returns 0 on failure, with `*out` untouched.
uint64_t SELLogFilter(const char* file, char** out, uint64_t* begin, uint64_t* end);

/// Removes the copies of the SEL log file that killed processes have left. The caller holds the lock between processes.
void RemoveLeftCopies();

#endif  // KESTRUNE_SEL_SELFILTER_H_
