#include "probe/arguments.h"

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "probe/findings.h"
#include "probe/realmodule.h"
#include "probe/room.h"

namespace probe {
namespace {

bool IsLog(uint64_t id) { return id >= LOG_APPLICATION && id <= LOG_SEL; }

void CheckIdentifier(const Request& request, const std::string& what) {
  const uint32_t form = request.identifier->dwIDVType;
  if (form != IDV_CONFIGGROUP && form != IDV_CONFIGTYPE) {
    Report(Rule::UNKNOWN_IDENTIFIER, what + " came with the identifier form " + std::to_string(form));
    return;
  }
  const uint64_t log = request.Log();
  const auto id = static_cast<uint32_t>(log);
  const bool isAll = form == IDV_CONFIGTYPE && id == CONFIG_TYPE_LOG && log >> 32 <= 5 &&
                     (request.kind == Kind::PROPERTY || request.kind == Kind::WRITE);
  if (!IsLog(log) && !isAll) {
    Report(Rule::UNKNOWN_IDENTIFIER, what + " named the log " + std::to_string(id) +
                                         (log >> 32 == 0 ? "" : " with index " + std::to_string(log >> 32)));
  }
}

void CheckRange(const Request& request, const std::string& what) {
  const uint32_t begin = request.range->dwBegin, end = request.range->dwEnd;
  // An end of 0 is the last record; in the SEL only if the begin is 0 too.
  const bool isOpen = end == 0 && (begin == 0 || request.Log() != LOG_SEL);
  if (begin > end && !isOpen) {
    Report(Rule::RANGE_REVERSED, what + " asked for records " + std::to_string(begin) + " to " + std::to_string(end));
  }
}

/// Bytes from the array to the first other argument that lies within `size` bytes of it: none does in a right array.
std::optional<size_t> RoomBeforeArguments(const Request& request, size_t size) {
  const auto array = reinterpret_cast<uintptr_t>(request.array);
  std::optional<size_t> room;
  for (const void* argument : {static_cast<const void*>(request.count), static_cast<const void*>(request.identifier),
                               static_cast<const void*>(request.range)}) {
    const size_t distance = reinterpret_cast<uintptr_t>(argument) - array;  // one in front of the array is far behind
    if (argument != nullptr && distance < room.value_or(size)) room = distance;
  }
  return room;
}

void CheckArray(const Request& request, const std::string& what) {
  const size_t capacity = *request.count;
  if (request.array == nullptr) {
    if (capacity != 0) {
      Report(Rule::NULL_ARRAY, what + " came with no array and a count of " + std::to_string(capacity));
    }
    return;
  }
  const size_t size = capacity * request.recordSize;
  const std::optional<size_t> room = RoomBeforeArguments(request, size);
  if (size == 0 || (!room && HasRoom(request.array, size))) return;
  const size_t records = room.value_or(KnownRoom(request.array).value_or(0)) / request.recordSize;
  Report(Rule::ARRAY_TOO_SMALL, what + " said " + std::to_string(capacity) + ", and the array " +
                                    (records == 0 ? "ends before that" : "has room for " + std::to_string(records)));
}

/// Looks at the entries of one item that is to be written. Returns whether it has all that a message needs.
bool CheckEntries(const tagCONFIGITEM& item, const std::string& what) {
  bool hasLevel = false, hasText = false;
  for (uint32_t i = 0; i < item.dwEntryCount; ++i) {
    const tagCONFIGENTRY& entry = item.pEntries[i];
    if ((entry.dwAttributes & CE_ATTRIBUTE_WRITABLE) == 0) continue;
    if (entry.dwEntryID == CE_LEVEL) {
      hasLevel = true;
      const int64_t level = entry.varValue.value.llVal;
      if (level < 0 || level > 3) Report(Rule::LEVEL, what + " had the level " + std::to_string(level));
    } else if (entry.dwEntryID == CE_TEXT && entry.varValue.vt == VT_BSTR && entry.varValue.value.bstrVal != nullptr) {
      hasText = true;
      if (!IsTerminated(entry.varValue.value.bstrVal))
        Report(Rule::TEXT_UNTERMINATED, what + " had a text without an end");
    }
  }
  return hasLevel && hasText;
}

void CheckWrite(const Request& request, const std::string& what) {
  bool writesAnything = *request.count == 0;
  for (uint32_t i = 0; i < *request.count; ++i) {
    const tagCONFIGITEM& item = request.Items()[i];
    if (item.dwID != CONFIG_TYPE_LOG || item.pEntries == nullptr) continue;
    if (!HasRoom(item.pEntries, item.dwEntryCount * sizeof(tagCONFIGENTRY))) {
      Report(Rule::ARRAY_TOO_SMALL, what + ": item " + std::to_string(i) + " said " +
                                        std::to_string(item.dwEntryCount) + " entries, and has not so many");
      return;
    }
    writesAnything |= CheckEntries(item, what);
  }
  if (!writesAnything) Report(Rule::WRITE_INCOMPLETE, what + " had no item with a level and a text");
}

/// Whether one of the text log's last bytes is outside ASCII.
bool HoldsOtherThanASCII(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return false;
  constexpr off_t LOOKED = 1 << 20;
  if (const off_t end = lseek(file, 0, SEEK_END); end > LOOKED) {
    lseek(file, end - LOOKED, SEEK_SET);
  } else {
    lseek(file, 0, SEEK_SET);
  }
  std::vector<char> text(LOOKED);
  const ssize_t size = read(file, text.data(), text.size());
  close(file);
  return size > 0 && std::any_of(text.begin(), text.begin() + size, [](char c) { return (c & 0x80) != 0; });
}

void CheckLocale(const Request& request, const std::string& what) {
  if (std::string_view(nl_langinfo(CODESET)) != "ANSI_X3.4-1968") return;
  constexpr std::array<const char*, 3> PATHS{"/var/log/secure", "/var/log/messages", "/var/log/agent.log"};
  std::vector<std::string> files;
  const uint64_t log = request.Log();
  if (log == LOG_APPLICATION) {
    std::string_view list(AppLogList, strnlen(AppLogList, sizeof(AppLogList)));
    for (size_t end = 0; !list.empty(); list.remove_prefix(std::min(list.size(), end + 1))) {
      end = std::min(list.find(' '), list.size());
      files.emplace_back(list.substr(0, end));
    }
  } else if (log >= LOG_SECURE && log <= LOG_AGENT) {
    files.emplace_back(PATHS.at(log - LOG_SECURE));
  }
  for (const std::string& file : files) {
    if (HoldsOtherThanASCII(file)) {
      Report(Rule::LOCALE,
             std::string(what).append(": ").append(file).append(" holds more than ASCII, unlike the locale"));
    }
  }
}

}  // namespace

void CheckArguments(const Request& request, const std::string& what) {
  if (request.kind == Kind::UNKNOWN) Report(Rule::UNKNOWN_REQUEST, what + " was sent");
  if (request.kind == Kind::SETTINGS && request.settings == nullptr) {
    Report(Rule::NULL_ARGUMENT, what + " came without a word");
  }
  if ((request.HasIdentifier() && request.identifier == nullptr) || (request.HasCount() && request.count == nullptr)) {
    Report(Rule::NULL_ARGUMENT, what + " came without " + (request.count == nullptr ? "a count" : "an identifier"));
    return;
  }
  if (request.HasIdentifier()) CheckIdentifier(request, what);
  if (request.kind == Kind::RANGE) CheckRange(request, what);
  if (request.HasCount()) CheckArray(request, what);
  if (request.kind == Kind::WRITE && request.array != nullptr &&
      HasRoom(request.array, *request.count * request.recordSize))
    CheckWrite(request, what);
  if ((request.kind == Kind::ITEMS || request.kind == Kind::RANGE) && request.array != nullptr)
    CheckLocale(request, what);
}

}  // namespace probe
