/// selrecord.h: the formats in which System Event Log records lie in memory and in files. Fields of several bytes stand
/// least significant byte first.
///
/// A record, as the controller keeps it, has 16 bytes:
///
///   offset 0    2 bytes   record ID
///   offset 2    1 byte    record type
///   offset 3    4 bytes   time stamp: seconds since 1970-01-01 00:00 UTC, unsigned
///   offset 7    2 bytes   generator ID
///   offset 9    1 byte    format of the event message
///   offset 10   1 byte    sensor type
///   offset 11   1 byte    sensor number
///   offset 12   1 byte    bit 7: deassertion; bits 6 to 0: event type
///   offset 13   3 bytes   event data 1, 2 and 3; bits 3 to 0 of event data 1 are the event's offset
///
/// The SEL log file, in which another component of the host keeps the controller's older records:
///
///   offset 0   4 bytes     its writer's own
///   offset 4   4 bytes     size of the whole file, signed
///   offset 8   1 byte      checksum: the nine bytes of the header sum to 0 modulo 256
///   offset 9   16 x N      N records, oldest first; N is at least 1
#ifndef KESTRUNE_PLATFORM_SELRECORD_H_
#define KESTRUNE_PLATFORM_SELRECORD_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>

using SELRecord = std::array<uint8_t, 16>;

/// Offsets of a record's fields.
inline constexpr size_t RECORD_ID = 0;
inline constexpr size_t RECORD_TYPE = 2;
inline constexpr size_t RECORD_TIME = 3;
inline constexpr size_t RECORD_GENERATOR = 7;
inline constexpr size_t RECORD_FORMAT = 9;
inline constexpr size_t RECORD_SENSOR_TYPE = 10;
inline constexpr size_t RECORD_SENSOR_NUMBER = 11;
inline constexpr size_t RECORD_EVENT_TYPE = 12;
inline constexpr size_t RECORD_EVENT_DATA_1 = 13;
inline constexpr size_t RECORD_EVENT_DATA_2 = 14;
inline constexpr size_t RECORD_EVENT_DATA_3 = 15;

/// The format of event messages that has the fields above.
inline constexpr uint8_t RECORD_FORMAT_IPMI = 4;

/// The event type within its byte, and the event's offset within event data 1.
inline constexpr uint8_t EVENT_TYPE_MASK = 0x7F;
inline constexpr uint8_t EVENT_OFFSET_MASK = 0x0F;

/// The header of a SEL log file.
using SELLogHeader = std::array<uint8_t, 9>;
inline constexpr size_t SEL_LOG_SIZE = 4;
inline constexpr size_t SEL_LOG_CHECKSUM = 8;

/// Reads an unsigned number from `bytes`, least significant byte first.
template <typename Number>
constexpr Number ReadLittleEndian(const uint8_t* bytes) {
  Number number = 0;
  for (size_t i = 0; i < sizeof(Number); ++i) number |= static_cast<Number>(Number{bytes[i]} << (8 * i));
  return number;
}

/// Writes it there.
template <typename Number>
constexpr void WriteLittleEndian(Number number, uint8_t* bytes) {
  for (size_t i = 0; i < sizeof(Number); ++i) bytes[i] = static_cast<uint8_t>(number >> (8 * i));
}

/// The sum of a header, which is 0 when its checksum is right.
constexpr uint8_t SumOf(const SELLogHeader& header) {
  return static_cast<uint8_t>(std::accumulate(header.begin(), header.end(), 0U));
}

/// The header of a SEL log file of `size` bytes, the first four of them `own`.
constexpr SELLogHeader MakeSELLogHeader(uint32_t size, uint32_t own = 0) {
  SELLogHeader header{};
  WriteLittleEndian(own, header.data());
  WriteLittleEndian(size, header.data() + SEL_LOG_SIZE);
  header[SEL_LOG_CHECKSUM] = static_cast<uint8_t>(0x100 - SumOf(header));
  return header;
}

#endif  // KESTRUNE_PLATFORM_SELRECORD_H_
