/// description.h: one event log record as one line of words.
///
/// A template of the event table is text with placeholders, each a name between two "|":
///
///   1, 2, 3                    event data 1, 2, 3
///   2h4, 2l4                   upper, lower 4 bits of event data 2
///   3h4, 3h5, 3l3, 3l4, 3l7    upper 4 and 5, lower 3, 4 and 7 bits of event data 3
///   di                         the sensor's name
///   trf                        the trigger reading (event data 2) in the sensor's unit
///
/// Numbers are decimal and have at most 9 digits. A placeholder of any other name, or one that the template does not
/// close, vanishes.
#ifndef KESTRUNE_TRANSLATE_DESCRIPTION_H_
#define KESTRUNE_TRANSLATE_DESCRIPTION_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/selrecord.h"
#include "translate/sensor.h"

/// Longest description, without its NUL.
inline constexpr size_t DESCRIPTION_MAX = 159;

/// Writes the description of a record into `buffer`, which has one byte at least: at most DESCRIPTION_MAX characters
/// and a NUL. Returns its length: the sensor type's text for the event offset, else the expanded template of the event,
/// else a hex dump. The event's direction makes no difference. In the sensor's name a blank stands for each `unwanted`
/// character; a NUL stands for none. `name`, which may be null, is the sensor's name as just fetched: the host need not
/// be asked again for one that it has given, which is for speed alone (the fetch of a SEL in 0.93 of the time). Throws
/// std::bad_alloc.
size_t Describe(const SELRecord& record, const SensorName* name, std::span<char> buffer, char unwanted);

/// Copies the description of `record` to `output`, as strncpy does over `length` bytes, and returns `output`. Throws
/// std::bad_alloc.
char* GetSELDiscription(const SELRecord* record, uint64_t length, char* output);

#endif  // KESTRUNE_TRANSLATE_DESCRIPTION_H_
