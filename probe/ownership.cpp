#include "probe/ownership.h"

#include <array>
#include <cstring>
#include <cwchar>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

#include "probe/findings.h"
#include "probe/memory.h"

namespace probe {
namespace {

using Origin = std::shared_ptr<const std::string>;

enum class Kind : uint8_t { ENTRIES, STRING };

struct Block {
  Origin origin;
  uint64_t sum;  ///< of the content; of entries the part that freeing leaves as it was
  size_t size;   ///< bytes of a string, entries of an array
  Kind kind;
  bool isChecked;
  bool isFreed;
};

/// An array of entries has its length in front, which is where its memory begins.
constexpr size_t LENGTH_SIZE = sizeof(size_t);

/// Spreads the blocks over several locks. A thread holds one of them at a time.
struct Shard {
  std::mutex mutex;
  std::unordered_map<const char*, Block> blocks;  // by their begin
};
std::array<Shard, 64> shards;

Shard& ShardOf(const char* begin) {
  return shards[((reinterpret_cast<uintptr_t>(begin) >> 4) * 0x9E3779B97F4A7C15U) >> 58];  // NOLINT: 6 bits
}

/// What was freed and is kept, oldest first.
std::mutex keptMutex;
std::deque<char*> kept;
constexpr size_t KEPT_MAX = 16384;

uint64_t Mix(uint64_t sum, uint64_t word) {
  const uint64_t mixed = (sum ^ word) * 0x9E3779B97F4A7C15U;
  return mixed ^ mixed >> 29;
}

/// The sum of a string and the zeros behind it, all of it in words of 4 bytes. Two sums at a time, for speed.
uint64_t SumString(const wchar_t* text, size_t bytes) {
  const char* rest = reinterpret_cast<const char*>(text);
  uint64_t even = bytes, odd = ~bytes;
  for (; bytes >= 16; bytes -= 16, rest += 16) {
    std::array<uint64_t, 2> words{};
    memcpy(words.data(), rest, sizeof(words));
    even = Mix(even, words[0]);
    odd = Mix(odd, words[1]);
  }
  std::array<uint64_t, 2> tail{};
  memcpy(tail.data(), rest, bytes);
  return Mix(Mix(even, tail[0]), Mix(odd, tail[1]));
}

/// The sum of what stays in entries when their values are released: of a string nothing does, since compilers leave out
/// what a destructor would write last.
uint64_t SumEntries(const tagCONFIGENTRY* entries, size_t count) {
  uint64_t sum = count;
  for (size_t i = 0; i < count; ++i) {
    const tagCONFIGENTRY& entry = entries[i];
    sum = Mix(sum, uint64_t{entry.dwEntryID} << 32 | entry.dwAttributes);
    if (entry.dwEntryID == CE_ORIGIN || entry.dwEntryID == CE_RECORDS) sum = Mix(sum, entry.varValue.value.ullVal);
  }
  return sum;
}

void Insert(const void* begin, Block block) {
  const char* place = static_cast<const char*>(begin);
  Shard& shard = ShardOf(place);
  const std::lock_guard lock(shard.mutex);
  shard.blocks.insert_or_assign(place, std::move(block));
}

bool IsWritable(const tagCONFIGENTRY& entry) { return (entry.dwAttributes & CE_ATTRIBUTE_WRITABLE) != 0; }

size_t CountEntries(const char* begin) {
  size_t count = 0;
  memcpy(&count, begin, sizeof(count));
  return count;
}

tagCONFIGENTRY* EntriesAt(char* begin) { return reinterpret_cast<tagCONFIGENTRY*>(begin + LENGTH_SIZE); }

/// Keeps what was freed, and lets go of what was kept longest.
void Keep(char* begin) {
  char* oldest = nullptr;
  {
    const std::lock_guard lock(keptMutex);
    kept.push_back(begin);
    if (kept.size() <= KEPT_MAX) return;
    oldest = kept.front();
    kept.pop_front();
  }
  {
    Shard& shard = ShardOf(oldest);
    const std::lock_guard lock(shard.mutex);
    shard.blocks.erase(oldest);
  }
  ::operator delete[](oldest);
}

const char* NameOf(Means means) {
  return means == Means::ARRAY_DELETE ? "array delete" : means == Means::DELETE ? "delete" : "free()";
}

std::string NameOf(const Block& block) {
  return (block.kind == Kind::ENTRIES ? "entries given by " : "a string given by ") + *block.origin;
}

/// Marks the block that begins here as freed. Returns what it was before, or no origin if it was not given.
Block MarkFreed(const char* begin) {
  Shard& shard = ShardOf(begin);
  const std::lock_guard lock(shard.mutex);
  const auto found = shard.blocks.find(begin);
  if (found == shard.blocks.end()) return {};
  Block before = found->second;
  found->second.isFreed = true;
  return before;
}

/// Marks the strings of entries as freed that nobody will free after this.
void TakeBackStrings(char* begin) {
  const size_t count = CountEntries(begin);
  const tagCONFIGENTRY* entries = EntriesAt(begin);
  for (size_t i = 0; i < count; ++i) {
    if (entries[i].varValue.vt != VT_BSTR) continue;
    auto* string = reinterpret_cast<char*>(entries[i].varValue.value.bstrVal);
    const Block block = MarkFreed(string);
    if (block.origin != nullptr && !block.isFreed) Keep(string);
  }
}

void CheckContent(char* begin, const Block& block) {
  if (!block.isChecked) return;
  const bool isSame = block.kind == Kind::STRING
                          ? SumString(reinterpret_cast<const wchar_t*>(begin), block.size) == block.sum
                          : CountEntries(begin) == block.size && SumEntries(EntriesAt(begin), block.size) == block.sum;
  if (!isSame) Report(Rule::CHANGED, NameOf(block) + " was not as it had been when it was freed");
}

}  // namespace

void GiveItems(const tagCONFIGITEM* items, uint32_t count, const std::string& text) {
  const OwnWork own;
  const auto origin = std::make_shared<const std::string>(text);
  for (uint32_t i = 0; i < count; ++i) {
    const tagCONFIGITEM& item = items[i];
    if (item.pEntries == nullptr) continue;
    Insert(reinterpret_cast<const char*>(item.pEntries) - LENGTH_SIZE,
           {origin, SumEntries(item.pEntries, item.dwEntryCount), item.dwEntryCount, Kind::ENTRIES, true, false});
    for (uint32_t j = 0; j < item.dwEntryCount; ++j) {
      const tagCONFIGENTRY& entry = item.pEntries[j];
      if (entry.varValue.vt != VT_BSTR || entry.varValue.value.bstrVal == nullptr) continue;
      const wchar_t* string = entry.varValue.value.bstrVal;
      const bool isChecked = !IsWritable(entry);
      const size_t size = isChecked ? (wcslen(string) + 1) * sizeof(wchar_t) : 0;
      Insert(string, {origin, SumString(string, size), size, Kind::STRING, isChecked, false});
    }
  }
}

void GiveString(BSTR string, const std::string& origin) {
  if (string == nullptr) return;
  const OwnWork own;
  Insert(string, {std::make_shared<const std::string>(origin), 0, 0, Kind::STRING, false, false});
}

bool TakeBack(void* memory, Means means) {
  auto* begin = static_cast<char*>(memory);
  bool isRight = means == Means::ARRAY_DELETE || IsDeleteReplaced();
  Block block = MarkFreed(begin);
  if (block.origin == nullptr) {
    // The array itself handed over, with its length left in front of it: no array delete of entries.
    begin -= LENGTH_SIZE;
    block = MarkFreed(begin);
    if (block.origin == nullptr || block.kind != Kind::ENTRIES) return false;
    isRight = false;
  }
  if (block.isFreed) {
    Report(Rule::FREED_TWICE, NameOf(block) + " was freed a second time, with " + NameOf(means));
    return true;
  }
  if (isRight) {
    CheckContent(begin, block);
  } else {
    Report(Rule::FREED_WRONG, NameOf(block) + " was freed with " + NameOf(means) +
                                  (means == Means::ARRAY_DELETE ? " of another type" : ""));
    if (block.kind == Kind::ENTRIES) TakeBackStrings(begin);
  }
  Keep(begin);
  return true;
}

void ReportLeft() {
  const OwnWork own;
  struct Left {
    size_t arrays = 0;
    size_t strings = 0;
  };
  std::map<std::string, Left> left;
  for (Shard& shard : shards) {
    const std::lock_guard lock(shard.mutex);
    for (auto each = shard.blocks.begin(); each != shard.blocks.end();) {
      const Block& block = each->second;
      if (block.isFreed) {
        ++each;
        continue;
      }
      Left& sum = left[*block.origin];
      ++(block.kind == Kind::ENTRIES ? sum.arrays : sum.strings);
      each = shard.blocks.erase(each);
    }
  }
  if (!AreFreesSeen()) return;
  for (const auto& [origin, sum] : left) {
    Report(Rule::NOT_FREED, std::to_string(sum.arrays) + " arrays of entries and " + std::to_string(sum.strings) +
                                " strings given by " + origin + " were still there at the stop");
  }
}

void ForgetAll() {
  const OwnWork own;
  const std::lock_guard lock(keptMutex);
  for (char* begin : kept) ::operator delete[](begin);
  kept.clear();
  for (Shard& shard : shards) {
    const std::lock_guard shardLock(shard.mutex);
    shard.blocks.clear();
  }
}

}  // namespace probe
