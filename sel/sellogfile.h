/// sellogfile.h: reads the SEL log file, in which another component of the host keeps the controller's older records.
/// Its format stands in platform/selrecord.h.
#ifndef KESTRUNE_SEL_SELLOGFILE_H_
#define KESTRUNE_SEL_SELLOGFILE_H_

#include <cstdint>
#include <memory>

#include "platform/privatefile.h"
#include "platform/selrecord.h"

/// Number of records in a copy of the file; 0, after a message, when it was not made or is not such a file.
uint64_t CheckSELLogFile(const TemporaryFile& copy);

/// Reads `count` records of a checked copy, from record `first` (counted from 0, the oldest) on. Throws 1, after a
/// message, when they cannot be read.
std::unique_ptr<SELRecord[]> ReadSELLogFile(const TemporaryFile& copy, uint64_t first, uint64_t count);

#endif  // KESTRUNE_SEL_SELLOGFILE_H_
