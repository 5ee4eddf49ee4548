#include "standin/recordkeeper.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "standin/failure.h"
#include "standin/files.h"
#include "standin/selfile.h"

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
  // Fewer entries than before: the log was cleared, and what comes now is another log.
  if (count && *count < entries_.size()) {
    entries_.clear();
    first_.reset();
  }
  return count;
}

bool RecordKeeper::ReadEntry(tagSEL_DATA& entry) {
  const uint16_t id = entry.wRecordID;
  if (!controller_.ReadEntry(entry)) return false;
  const bool isFirst = id == 0 || (first_ && id == first_->wRecordID);
  if (isFirst) {
    // Another first record: the log was rewritten. Its next ID alone changes when a second entry comes.
    if (first_ && first_->abyRecord != entry.abyRecord) entries_.clear();
    first_ = entry;
  }
  entries_[id == 0 ? entry.wRecordID : id] = entry;
  return true;
}

std::vector<SELRecord> RecordKeeper::NewestFirst() const {
  std::vector<SELRecord> records;
  if (!first_) return records;
  for (auto entry = entries_.find(first_->wRecordID); entry != entries_.end() && records.size() < entries_.size();
       entry = entries_.find(entry->second.wNextRecordID)) {
    records.push_back(entry->second.abyRecord);
  }
  std::reverse(records.begin(), records.end());
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
