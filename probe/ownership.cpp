#include "probe/ownership.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <cwchar>
#include <map>
#include <mutex>
#include <new>
#include <utility>

#include "probe/findings.h"
#include "probe/memory.h"
#include "probe/room.h"
#include "probe/shadow.h"

namespace probe {
namespace {

enum class Kind : uint8_t { ENTRIES, STRING, FREE_STRING };  // the last is one whose content is the host's affair

/// What is known of a block, as a note of 64 bits: the sum of its content, the call that gave it, what it is.
struct Block {
  uint32_t sum = 0;
  uint32_t call = 0;
  Kind kind = Kind::ENTRIES;
  bool isFreed = false;

  static constexpr uint32_t CALL_MASK = (1U << 28) - 1;

  uint64_t Pack() const {
    return uint64_t{sum} << 32 | uint64_t{call & CALL_MASK} << 4 | uint64_t{isFreed ? 1U : 0U} << 3 |
           static_cast<uint64_t>(kind) << 1 | 1;
  }
  static Block Unpack(uint64_t note) {
    return {static_cast<uint32_t>(note >> 32), static_cast<uint32_t>(note >> 4) & CALL_MASK,
            static_cast<Kind>(note >> 1 & 3), (note >> 3 & 1) != 0};
  }
};

Shadow shadow;

/// An array of entries has its length in front, which is where its block begins.
constexpr size_t LENGTH_SIZE = sizeof(size_t);
/// More entries than an item has, and more characters than a string.
constexpr size_t ENTRIES_MAX = 16;
constexpr size_t LENGTH_MAX = 1024;

/// The words for the calls that gave something, the latest ones.
std::mutex originMutex;
std::map<uint32_t, std::string> origins;
constexpr size_t ORIGINS_MAX = 4096;

/// What was freed and is kept, a ring.
std::mutex keptMutex;
constexpr size_t KEPT_MAX = 16384;
std::array<char*, KEPT_MAX> kept;
size_t keptNext = 0;

uintptr_t Address(const void* memory) { return reinterpret_cast<uintptr_t>(memory); }

uint64_t Mix(uint64_t sum, uint64_t word) {
  const uint64_t mixed = (sum ^ word) * 0x9E3779B97F4A7C15U;
  return mixed ^ mixed >> 29;
}

uint32_t Fold(uint64_t sum) { return static_cast<uint32_t>(sum ^ sum >> 32); }

/// The sum of a string with its length. Two sums at a time, for speed.
uint32_t SumString(const wchar_t* text) {
  const size_t length = wcsnlen(text, LENGTH_MAX);
  uint64_t even = length, odd = ~length;
  size_t i = 0;
  for (; i + 4 <= length; i += 4) {
    std::array<uint64_t, 2> words{};
    memcpy(words.data(), text + i, sizeof(words));
    even = Mix(even, words[0]);
    odd = Mix(odd, words[1]);
  }
  for (; i < length; ++i) even = Mix(even, static_cast<uint64_t>(text[i]));
  return Fold(Mix(even, odd));
}

/// The sum of what stays in entries when their values are released: of a string nothing does, since compilers leave out
/// what a destructor would write last.
uint32_t SumEntries(const tagCONFIGENTRY* entries, size_t count) {
  uint64_t sum = count;
  for (size_t i = 0; i < count; ++i) {
    const tagCONFIGENTRY& entry = entries[i];
    sum = Mix(sum, uint64_t{entry.dwEntryID} << 32 | entry.dwAttributes);
    if (entry.dwEntryID == CE_ORIGIN || entry.dwEntryID == CE_RECORDS) sum = Mix(sum, entry.varValue.value.ullVal);
  }
  return Fold(sum);
}

void Note(const void* begin, const Block& block) {
  if (Shadow::Note* note = shadow.Make(Address(begin))) note->store(block.Pack(), std::memory_order_relaxed);
}

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
    oldest = std::exchange(kept.at(keptNext), begin);
    keptNext = (keptNext + 1) % KEPT_MAX;
  }
  if (oldest == nullptr) return;
  shadow.Find(Address(oldest))->store(0, std::memory_order_relaxed);
  ::operator delete[](oldest);
}

const char* NameOf(Means means) {
  switch (means) {
    case Means::ARRAY_DELETE:
      return "array delete";
    case Means::DELETE:
      return "delete";
    default:
      return "free()";
  }
}

std::string OriginOf(uint32_t call) {
  const std::lock_guard lock(originMutex);
  const auto origin = origins.find(call);
  return origin == origins.end() ? "call " + std::to_string(call) : origin->second;
}

std::string NameOf(const Block& block) {
  return (block.kind == Kind::ENTRIES ? "an array of entries given by " : "a string given by ") + OriginOf(block.call);
}

/// Marks the block that begins here as freed, and tells what it was before. Returns false if it was not given.
bool MarkFreed(const char* begin, Block& before) {
  Shadow::Note* note = shadow.Find(Address(begin));
  if (note == nullptr) return false;
  uint64_t packed = note->load(std::memory_order_relaxed);
  Block freed;
  do {
    if (packed == 0) return false;
    freed = before = Block::Unpack(packed);
    freed.isFreed = true;
  } while (!note->compare_exchange_weak(packed, freed.Pack(), std::memory_order_relaxed));
  return true;
}

/// Marks the strings of entries as freed that nobody will free after this.
void TakeBackStrings(char* begin) {
  const size_t count = std::min(CountEntries(begin), ENTRIES_MAX);
  const tagCONFIGENTRY* entries = EntriesAt(begin);
  for (size_t i = 0; i < count; ++i) {
    if (entries[i].varValue.vt != VT_BSTR) continue;
    auto* string = reinterpret_cast<char*>(entries[i].varValue.value.bstrVal);
    Block block;
    if (MarkFreed(string, block) && !block.isFreed) Keep(string);
  }
}

void CheckContent(char* begin, const Block& block) {
  if (block.kind == Kind::FREE_STRING) return;
  const bool isSame = block.kind == Kind::STRING ? SumString(reinterpret_cast<const wchar_t*>(begin)) == block.sum
                                                 : CountEntries(begin) <= ENTRIES_MAX &&
                                                       SumEntries(EntriesAt(begin), CountEntries(begin)) == block.sum;
  if (!isSame) Report(Rule::CHANGED, NameOf(block) + " had been changed when it was freed");
}

/// Whether an array of entries that was given, and was not seen to be freed, has its length in front of it still.
bool HasRightLength(uintptr_t begin) {
  const auto* memory = reinterpret_cast<const char*>(begin);  // NOLINT(performance-no-int-to-ptr): notes are by number
  return IsReadable(memory) && CountEntries(memory) <= ENTRIES_MAX;
}

void NoteOrigin(uint32_t call, const std::string& text) {
  const std::lock_guard lock(originMutex);
  origins[call & Block::CALL_MASK] = text;
  if (origins.size() > ORIGINS_MAX) origins.erase(origins.begin());
}

}  // namespace

void GiveItems(const tagCONFIGITEM* items, uint32_t count, uint32_t call, const std::string& origin) {
  const OwnWork own;
  NoteOrigin(call, origin);
  for (uint32_t i = 0; i < count; ++i) {
    const tagCONFIGITEM& item = items[i];
    if (item.pEntries == nullptr) continue;
    Note(reinterpret_cast<const char*>(item.pEntries) - LENGTH_SIZE,
         {SumEntries(item.pEntries, item.dwEntryCount), call, Kind::ENTRIES});
    for (uint32_t j = 0; j < item.dwEntryCount; ++j) {
      const tagCONFIGENTRY& entry = item.pEntries[j];
      if (entry.varValue.vt != VT_BSTR || entry.varValue.value.bstrVal == nullptr) continue;
      const wchar_t* string = entry.varValue.value.bstrVal;
      const bool isHosts = (entry.dwAttributes & CE_ATTRIBUTE_WRITABLE) != 0;
      Note(string, {isHosts ? 0 : SumString(string), call, isHosts ? Kind::FREE_STRING : Kind::STRING});
    }
  }
}

void GiveString(BSTR string, uint32_t call, const std::string& origin) {
  if (string == nullptr) return;
  const OwnWork own;
  NoteOrigin(call, origin);
  Note(string, {0, call, Kind::FREE_STRING});
}

bool TakeBack(void* memory, Means means) {
  auto* begin = static_cast<char*>(memory);
  bool isRight = means == Means::ARRAY_DELETE || means == Means::UNKNOWN || IsDeleteReplaced();
  Block block;
  if (!MarkFreed(begin, block)) {
    // The array itself handed over, with its length left in front of it: no array delete of entries.
    begin -= LENGTH_SIZE;
    const Shadow::Note* note = shadow.Find(Address(begin));
    if (note == nullptr || *note == 0 || Block::Unpack(*note).kind != Kind::ENTRIES) return false;
    if (!MarkFreed(begin, block)) return false;
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
  std::map<uint32_t, Left> left;
  bool areFreesMissed = false;
  shadow.ForEach([&](uintptr_t begin, Shadow::Note& note) {
    const Block block = Block::Unpack(note);
    if (block.isFreed) return;
    // No host writes before the entries that it got: their length goes when the heap takes the block back.
    if (block.kind == Kind::ENTRIES) areFreesMissed |= !HasRightLength(begin);
    Left& sum = left[block.call];
    ++(block.kind == Kind::ENTRIES ? sum.arrays : sum.strings);
    note = 0;
  });
  for (const auto& [call, sum] : left) {
    if (!AreFreesSeen() || areFreesMissed) return;
    Report(Rule::NOT_FREED, std::to_string(sum.arrays) + " arrays of entries and " + std::to_string(sum.strings) +
                                " strings given by " + OriginOf(call) + " were still there at the stop");
  }
}

void ForgetAll() {
  const OwnWork own;
  const std::lock_guard lock(keptMutex);
  for (char*& begin : kept) ::operator delete[](std::exchange(begin, nullptr));
  shadow.Clear();
}

}  // namespace probe
