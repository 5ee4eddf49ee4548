/// selfilter.h: the controller's records and those of the SEL log file as one list of text lines, newest first.
///
/// A line, without its newline:
///
///   column  0        origin: 0 for the controller, 1 for the SEL log file
///   column  1        "|"
///   columns 2 to 7   date in UTC: month abbreviation, blank, day in two places padded with a blank
///   column  8        blank
///   columns 9 to 16  time: hours:minutes:seconds
///   column  17       "|"
///   column  18 on    sensor name, "|", description
#ifndef KESTRUNE_SEL_SELFILTER_H_
#define KESTRUNE_SEL_SELFILTER_H_

#include <cstddef>
#include <cstdint>

#include "platform/nubo.h"

/// Bytes that a line takes at most, with its origin, its newline and a NUL.
inline constexpr size_t SEL_LINE_SIZE = 256;

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

/// Writes a record's line, from column 2 on and with its newline and a NUL, into SEL_LINE_SIZE - 2 bytes. Returns 1.
/// Throws std::bad_alloc.
int FormatSELLine(const SELRecord* record, char* line);

#endif  // KESTRUNE_SEL_SELFILTER_H_
