#include "sel/sellogfile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <new>

#include "platform/message.h"
#include "platform/privatefile.h"

namespace {

/// Whether a copy was made and can be read. What may stand under the name of one that was not made is somebody else's.
bool IsThere(const TemporaryFile& copy) { return copy.IsOurs() && access(copy.Path(), R_OK) == 0; }

/// Checks an open file and returns the number of its records. Throws 1, after a message, when something is wrong.
uint64_t CheckStream(FILE* stream, const char* file) {
  SELLogHeader header{};
  if (fread(header.data(), header.size(), 1, stream) != 1) {
    Error("Err (%s:CheckSELLogFile): read \"%s\" failed!\n", file);
    throw 1;
  }
  if (SumOf(header) != 0) {
    Error("Err (%s:CheckSELLogFile): file \"%s\" CRC check failed\n", file);
    throw 1;
  }
  const auto size = static_cast<int32_t>(ReadLittleEndian<uint32_t>(header.data() + SEL_LOG_SIZE));
  struct stat status {};
  if (fstat(fileno(stream), &status) != 0 || status.st_size != size) {
    Error("Err (%s:CheckSELLogFile): fstat \"%s\" error!\n", file);
    throw 1;
  }
  const int64_t recordBytes = int64_t{size} - static_cast<int64_t>(sizeof(SELLogHeader));
  if (recordBytes <= 0 || recordBytes % static_cast<int64_t>(sizeof(SELRecord)) != 0) {
    Error("Err (%s:CheckSELLogFile): File size invalid: %d\n", size);
    throw 1;
  }
  return static_cast<uint64_t>(recordBytes) / sizeof(SELRecord);
}

uint64_t OpenAndCheck(const TemporaryFile& copy) {
  const char* file = copy.Path();
  if (!IsThere(copy)) {
    Debug("Dbg (%s:CheckSELLogFile): File %s doesn't exist!\n", file);
    throw 1;
  }
  const File stream = OpenForReading(file);
  if (stream == nullptr) {
    Error("Err (%s:CheckSELLogFile): Can't open %s\n", file);
    throw 1;
  }
  return CheckStream(stream.get(), file);
}

}  // namespace

uint64_t CheckSELLogFile(const TemporaryFile& copy) {
  try {
    return OpenAndCheck(copy);
  } catch (int) {
    Output(OUTPUT_DEBUG, "Dbg (SELLogFilter): SEL log file verify error!\n");
    return 0;
  }
}

std::unique_ptr<SELRecord[]> ReadSELLogFile(const TemporaryFile& copy, uint64_t first, uint64_t count) {
  const char* file = copy.Path();
  if (count == 0) {
    Debug("Dbg (%s:ReadSELLogFile): The Parameter error!\n");
    throw 1;
  }
  if (!IsThere(copy)) {
    Debug("Dbg (%s:ReadSELLogFile): File %s doesn't exist!\n", file);
    throw 1;
  }
  const File stream = OpenForReading(file);
  if (stream == nullptr) {
    Error("Err (%s:ReadSELLogFile): Can't open %s\n", file);
    throw 1;
  }
  const uint64_t offset = sizeof(SELLogHeader) + first * sizeof(SELRecord);
  if (fseek(stream.get(), static_cast<long>(offset), SEEK_SET) != 0) {
    Error("Err (%s:ReadSELLogFile): fseek \"%s\" error\n", file);
    throw 1;
  }
  std::unique_ptr<SELRecord[]> records(new (std::nothrow) SELRecord[count]);
  if (records == nullptr) {
    Error("Err (%s:ReadSELLogFile): Can't allocate memory!\n");
    throw 1;
  }
  if (fread(records.get(), sizeof(SELRecord), count, stream.get()) != count) {
    Error("Err (%s:ReadSELLogFile): fread \"%s\" error\n", file);
    throw 1;
  }
  return records;
}
