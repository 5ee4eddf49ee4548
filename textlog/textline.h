/// textline.h: a line of a text log, as the log daemon writes it and as the log filter delivers it, which pads the day
/// of the month with a zero:
///
///   columns 0 to 5    date: month abbreviation, blank, day in two places
///   column  6         one character
///   columns 7 to 14   time: hours:minutes:seconds
///   column  15        one character
///   column  16 on     host, up to a blank; source tag, up to a colon; one more character; message
#ifndef KESTRUNE_TEXTLOG_TEXTLINE_H_
#define KESTRUNE_TEXTLOG_TEXTLINE_H_

#include <cstddef>

inline constexpr size_t TEXT_DATE_END = 6;
inline constexpr size_t TEXT_TIME = 7;
inline constexpr size_t TEXT_TIME_END = 15;
inline constexpr size_t TEXT_HOST = 16;
inline constexpr char TEXT_HOST_END = ' ';
inline constexpr char TEXT_SOURCE_END = ':';

/// Characters from the colon of the source tag to the message.
inline constexpr size_t TEXT_MESSAGE_GAP = 2;

/// Longest part of a line that is looked at, in bytes; up to as many bytes after it are dropped, and what follows
/// counts as a line of its own.
inline constexpr size_t TEXT_LINE_MAX = 510;

#endif  // KESTRUNE_TEXTLOG_TEXTLINE_H_
