/// selfile.cpp: reads raw record files, writes SEL log files.
#include "standin/selfile.h"

#include <cstring>
#include <filesystem>

#include "standin/failure.h"
#include "standin/files.h"

namespace standin {
namespace {

constexpr size_t RECORD_SIZE = sizeof(SELRecord);

}  // namespace

std::vector<SELRecord> ReadRawRecords(const std::string& path, size_t limit) {
  const std::string contents = ReadFile(path);
  const size_t count = contents.size() / RECORD_SIZE;
  if (contents.size() % RECORD_SIZE != 0) {
    throw Failure(WRONG_ARGUMENTS, "'" + path + "' is no raw record file: its size of " +
                                       std::to_string(contents.size()) +
                                       " bytes is no multiple of 16 (the last whole record ends at byte " +
                                       std::to_string(count * RECORD_SIZE) + ")");
  }
  if (count > limit) {
    throw Failure(WRONG_ARGUMENTS, "'" + path + "' holds " + std::to_string(count) +
                                       " records; a controller's log holds at most " + std::to_string(limit));
  }
  std::vector<SELRecord> records(count);
  for (size_t i = 0; i < count; ++i) std::memcpy(&records[i], &contents[i * RECORD_SIZE], RECORD_SIZE);
  return records;
}

std::string MakeSelLog(const std::vector<SELRecord>& records) {
  const SELLogHeader header =
      MakeSELLogHeader(static_cast<uint32_t>(sizeof(SELLogHeader) + records.size() * RECORD_SIZE));
  std::string contents(header.begin(), header.end());
  for (const SELRecord& record : records) contents.append(record.begin(), record.end());
  return contents;
}

void PackSelLog(const std::string& rawPath, const std::string& path) {
  const std::vector<SELRecord> records = ReadRawRecords(rawPath);
  if (records.empty()) {
    throw Failure(WRONG_ARGUMENTS, "'" + rawPath + "' is empty: a SEL log file holds at least one record");
  }
  WriteFile(path, MakeSelLog(records));
}

void LaySelLog(const std::string& path) {
  const std::string contents = ReadFile(path);
  const std::filesystem::path target(SEL_LOG_PATH);
  // A file of its own that is then renamed, so that nothing is written through a link that stands there.
  const std::string fresh = target.string() + ".new";
  try {
    std::filesystem::create_directories(target.parent_path());
    std::filesystem::remove(fresh);
    WriteFile(fresh, contents);
    std::filesystem::rename(fresh, target);
  } catch (const std::exception& error) {
    throw Failure(REQUEST_FAILED, std::string("--sel-log cannot be laid at ") + SEL_LOG_PATH +
                                      ", which a private machine allows: " + error.what());
  }
}

}  // namespace standin
