/// selline.h: a record as one line of text: how it is written, and at which columns it is cut again.
///
///   column  0        origin: 0 for the controller, 1 for the SEL log file
///   column  1        "|"
///   columns 2 to 7   date in UTC: month abbreviation, blank, day in two places padded with a blank
///   column  8        blank
///   columns 9 to 16  time: hours:minutes:seconds
///   column  17       "|"
///   column  18 on    sensor name, "|", description, newline
#ifndef KESTRUNE_SEL_SELLINE_H_
#define KESTRUNE_SEL_SELLINE_H_

#include <cstddef>

#include "platform/selrecord.h"

inline constexpr char SEL_SEPARATOR = '|';
inline constexpr size_t SEL_ORIGIN = 0;
inline constexpr size_t SEL_ORIGIN_END = 1;
inline constexpr size_t SEL_DATE = 2;
inline constexpr size_t SEL_DATE_END = 8;
inline constexpr size_t SEL_TIME = 9;
inline constexpr size_t SEL_TIME_END = 17;
inline constexpr size_t SEL_SENSOR = 18;

/// Origins of a line.
inline constexpr char SEL_FROM_CONTROLLER = '0';
inline constexpr char SEL_FROM_FILE = '1';

/// Bytes that a line takes at most, with its newline and a NUL.
inline constexpr size_t SEL_LINE_SIZE = 256;

/// Writes a record's line with a NUL into SEL_LINE_SIZE bytes. Returns its length. Throws std::bad_alloc.
size_t WriteSELLine(char origin, const SELRecord& record, char* line);

/// The same from the date on, into SEL_LINE_SIZE - 2 bytes: for whoever has no origin to tell, as benchmarks and fuzz
/// targets. Returns 1. Throws std::bad_alloc.
int FormatSELLine(const SELRecord* record, char* line);

#endif  // KESTRUNE_SEL_SELLINE_H_
