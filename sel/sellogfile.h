/// sellogfile.h: the SEL log file, in which another component of the host keeps the controller's older records.
/// Multi-byte fields stand least significant byte first:
///
///   offset 0   4 bytes     not interpreted
///   offset 4   4 bytes     size of the whole file, signed
///   offset 8   1 byte      checksum: the nine bytes of the header sum to 0 modulo 256
///   offset 9   16 x N      N records, oldest first; N is at least 1
#ifndef KESTRUNE_SEL_SELLOGFILE_H_
#define KESTRUNE_SEL_SELLOGFILE_H_

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/nubo.h"
#include "platform/privatefile.h"

inline constexpr size_t SEL_LOG_HEADER_SIZE = 9;
inline constexpr size_t SEL_LOG_SIZE_OFFSET = 4;

/// Number of records in a copy of the file; 0, after a message, when it was not made or is not as described above.
uint64_t CheckSELLogFile(const TemporaryFile& copy);

/// Reads `count` records of a checked copy, from record `first` (counted from 0, the oldest) on. Throws 1, after a
/// message, when they cannot be read.
std::unique_ptr<SELRecord[]> ReadSELLogFile(const TemporaryFile& copy, uint64_t first, uint64_t count);

#endif  // KESTRUNE_SEL_SELLOGFILE_H_
