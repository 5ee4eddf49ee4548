#include "standin/host/recordkeeper.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <utility>

#include "standin/failure.h"
#include "standin/files.h"
#include "standin/host/selfile.h"

namespace standin {
namespace {

/// The records of a SEL log file. Throws Failure when it is none.
std::vector<SELRecord> ParseArchive(const std::string& contents) {
  std::vector<SELRecord> records;
  SELLogHeader header{};
  if (contents.size() < header.size()) throw Failure(REQUEST_FAILED, "the SEL log file has no header");
  std::memcpy(header.data(), contents.data(), header.size());
  const size_t size = contents.size() - header.size();
  if (SumOf(header) != 0 || ReadLittleEndian<uint32_t>(&header[SEL_LOG_SIZE]) != contents.size() ||
      size % sizeof(SELRecord) != 0) {
    throw Failure(REQUEST_FAILED, "the SEL log file is damaged");
  }
  records.resize(size / sizeof(SELRecord));
  std::memcpy(records.data(), contents.data() + header.size(), size);
  return records;
}

}  // namespace

std::optional<uint32_t> RecordKeeper::CountEntries() {
  const auto count = controller_.CountEntries();
  if (count == 0U) entries_.clear();
  hasShrunk_ = count && *count < entries_.size();
  announced_ = count.value_or(announced_);
  return count;
}

bool RecordKeeper::ReadEntry(tagSEL_DATA& entry) {
  const uint16_t id = entry.wRecordID;
  const bool isRead = controller_.ReadEntry(entry);
  if (id == 0 && !entries_.empty()) {
    // Another log begins when there are fewer entries than before, or another first one.
    const bool isSame = !isRead || std::memcmp(&entry, entries_.data(), sizeof(entry)) == 0;
    if (std::exchange(hasShrunk_, false) || !isSame) entries_.clear();
    next_.reset();
  } else if (isRead && (entries_.empty() ? id == 0 : id == next_)) {
    entries_.push_back(entry);
    next_ = entry.wNextRecordID;
    if (progress_) progress_(entries_.size(), announced_);
  } else if (isRead && !entries_.empty() && id == entries_.back().wRecordID) {
    next_ = entry.wNextRecordID;
  }
  return isRead;
}

std::vector<SELRecord> RecordKeeper::NewestFirst() const {
  std::vector<SELRecord> records(entries_.size());
  std::transform(entries_.rbegin(), entries_.rend(), records.begin(),
                 [](const auto& entry) { return entry.abyRecord; });
  return records;
}

std::vector<SELRecord> ReadArchive() {
  std::vector<SELRecord> records;
  try {
    // Modules, too, leave a device or pipe alone, which may never end.
    if (!std::filesystem::is_regular_file(SEL_LOG_PATH)) return records;
    records = ParseArchive(ReadFile(SEL_LOG_PATH));
  } catch (const std::exception&) {
    return {};
  }
  std::reverse(records.begin(), records.end());
  return records;
}

}  // namespace standin
