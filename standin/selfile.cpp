/// selfile.cpp: reads raw record files, writes SEL log files.
#include "standin/selfile.h"

#include <cstring>
#include <filesystem>
#include <numeric>

#include "standin/failure.h"
#include "standin/files.h"

namespace standin {
namespace {

constexpr const char* kSelLogPath = "/etc/zarp/conf/ipmi.log";
constexpr size_t kHeaderSize = 9;
constexpr size_t kRecordSize = sizeof(SELRecord);

}  // namespace

std::vector<SELRecord> ReadRawRecords(const std::string& path, size_t limit) {
  const std::string contents = ReadFile(path);
  const size_t count = contents.size() / kRecordSize;
  if (contents.size() % kRecordSize != 0) {
    throw Failure(kWrongArguments, "'" + path + "' is no raw record file: its size of " +
                                       std::to_string(contents.size()) +
                                       " bytes is no multiple of 16 (the last whole record ends at byte " +
                                       std::to_string(count * kRecordSize) + ")");
  }
  if (count > limit) {
    throw Failure(kWrongArguments, "'" + path + "' holds " + std::to_string(count) +
                                       " records; a controller's log holds at most " + std::to_string(limit));
  }
  std::vector<SELRecord> records(count);
  for (size_t i = 0; i < count; ++i) std::memcpy(&records[i], &contents[i * kRecordSize], kRecordSize);
  return records;
}

std::string MakeSelLog(const std::vector<SELRecord>& records) {
  const size_t size = kHeaderSize + records.size() * kRecordSize;
  std::string contents(kHeaderSize, '\0');
  for (size_t i = 0; i < 4; ++i) contents[4 + i] = static_cast<char>(size >> (8 * i) & 0xFF);
  contents[8] = static_cast<char>(-std::accumulate(contents.begin(), contents.end(), 0));
  for (const SELRecord& record : records) contents.append(record.begin(), record.end());
  return contents;
}

void PackSelLog(const std::string& raw_path, const std::string& path) {
  const std::vector<SELRecord> records = ReadRawRecords(raw_path);
  if (records.empty()) {
    throw Failure(kWrongArguments, "'" + raw_path + "' is empty: a SEL log file holds at least one record");
  }
  WriteFile(path, MakeSelLog(records));
}

void LaySelLog(const std::string& path) {
  const std::string contents = ReadFile(path);
  const std::filesystem::path target(kSelLogPath);
  // A file of its own that is then renamed, so that nothing is written through a link that stands there.
  const std::string fresh = target.string() + ".new";
  try {
    std::filesystem::create_directories(target.parent_path());
    std::filesystem::remove(fresh);
    WriteFile(fresh, contents);
    std::filesystem::rename(fresh, target);
  } catch (const std::exception& error) {
    throw Failure(kRequestFailed, std::string("--sel-log cannot be laid at ") + kSelLogPath +
                                      ", which a private machine allows: " + error.what());
  }
}

}  // namespace standin
