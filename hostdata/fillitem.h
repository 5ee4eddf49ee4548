/// fillitem.h: cuts filtered log lines into the host's items.
///
/// A text log line, after the log filter padded its day of the month with a zero:
///
///   columns 0 to 5    date: month abbreviation, blank, day
///   column  6         separator
///   columns 7 to 14   time
///   column  15        separator
///   column  16 on     host, up to a blank; source tag, up to a colon; one more character; message
///
/// A SEL line is described in sel/selfilter.h. What would lie behind the end of a line is the empty string, and a line
/// without the separator behind its host or sensor gives the rest of the line for that.
#ifndef KESTRUNE_HOSTDATA_FILLITEM_H_
#define KESTRUNE_HOSTDATA_FILLITEM_H_

#include <cstdint>

#include "kestrune/kestrune.h"

/// Longest part of a text line that is looked at, in bytes; up to as many bytes behind it are dropped, and what follows
/// counts as a line of its own.
inline constexpr uint32_t TEXT_LINE_MAX = 510;

/// Fills one item per line of `resultFile`, at most `maxCount`, numbered from `firstIndex` on: date, time, source,
/// host, message. Returns 1, or 0 with nothing filled when the file cannot be opened. Throws std::bad_alloc; items
/// filled before keep their entries.
int FillConfigItem(tagCONFIGITEM* items, uint32_t firstIndex, uint32_t id, uint32_t maxCount, const char* resultFile);

/// Fills one item per newline-terminated line of `selText`, which may be changed: date, time, description, sensor,
/// origin. Returns 1. Otherwise as above.
int FillConfigItem(tagCONFIGITEM* items, uint32_t firstIndex, uint32_t id, uint32_t maxCount, char* selText);

#endif  // KESTRUNE_HOSTDATA_FILLITEM_H_
