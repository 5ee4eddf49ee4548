/// selfile.cpp: reads raw record files, writes SEL log files.
#include "standin/host/selfile.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "standin/failure.h"
#include "standin/files.h"
#include "standin/newfile.h"

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

void PackSelLog(const std::string& rawPath, const std::string& path, bool overwrite) {
  const std::vector<SELRecord> records = ReadRawRecords(rawPath);
  if (records.empty()) {
    throw Failure(WRONG_ARGUMENTS, "'" + rawPath + "' is empty: a SEL log file holds at least one record");
  }
  NewFile file(path, overwrite);
  file.Write(MakeSelLog(records));
  file.Commit();
}

LaidSelLog::LaidSelLog(const std::string& path) {
  const std::string contents = ReadFile(path);
  std::error_code error;
  if (std::filesystem::exists(std::filesystem::symlink_status(SEL_LOG_PATH, error))) {
    throw Failure(REQUEST_FAILED, std::string("--sel-log: this machine has a SEL log file, ") + SEL_LOG_PATH +
                                      ", which stays as it is; without --sel-log its records are shown");
  }
  try {
    MakeFolders();
    NewFile file(SEL_LOG_PATH, false);
    file.Write(contents);
    file.Commit();
    isLaid_ = true;
  } catch (const std::exception& reason) {
    Remove();
    throw Failure(REQUEST_FAILED, std::string("--sel-log cannot be laid at ") + SEL_LOG_PATH +
                                      " (root can, and a private machine): " + reason.what());
  }
}

void LaidSelLog::MakeFolders() {
  std::filesystem::path folder;
  for (const auto& name : std::filesystem::path(SEL_LOG_PATH).parent_path()) {
    folder /= name;
    if (std::filesystem::create_directory(folder)) folders_.push_back(folder);
  }
}

void LaidSelLog::Remove() {
  std::error_code error;
  if (isLaid_) std::filesystem::remove(SEL_LOG_PATH, error);
  // A folder that somebody else has put something into stays.
  std::for_each(folders_.rbegin(), folders_.rend(),
                [&error](const auto& folder) { std::filesystem::remove(folder, error); });
}

}  // namespace standin
