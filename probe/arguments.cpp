#include "probe/arguments.h"

#include <errno.h>
#include <fcntl.h>
#include <langinfo.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <cwchar>
#include <optional>
#include <string_view>
#include <vector>

#include "probe/findings.h"
#include "probe/memory.h"
#include "probe/realmodule.h"

namespace probe {
namespace {

/// Whether the page of this address can be read. The kernel looks at the set before it finds that it cannot do what it
/// is asked, and so changes nothing.
bool IsPageReadable(uintptr_t address) {
  constexpr int NOTHING = -1;
  constexpr size_t SET_SIZE = 8;
  return syscall(SYS_rt_sigprocmask, NOTHING, address / SET_SIZE * SET_SIZE, nullptr, SET_SIZE) == 0 || errno != EFAULT;
}

uintptr_t PageSize() { return static_cast<uintptr_t>(sysconf(_SC_PAGESIZE)); }

/// Whether the memory has room for `size` bytes, more than none, as far as that can be known.
bool HasRoom(const void* memory, size_t size) {
  if (const std::optional<size_t> room = RoomAt(memory)) return size <= *room;
  const auto begin = reinterpret_cast<uintptr_t>(memory);
  for (uintptr_t page = begin / PageSize() * PageSize(); page < begin + size; page += PageSize()) {
    if (!IsPageReadable(page)) return false;
  }
  return true;
}

/// Looks for the NUL in the block that the text begins, or page by page up to memory that is not there.
bool IsTerminated(const wchar_t* text) {
  if (const std::optional<size_t> room = RoomAt(text)) return wmemchr(text, 0, *room / sizeof(wchar_t)) != nullptr;
  constexpr size_t FAR_ENOUGH = 4096;  // no more than 255 bytes of it are used
  for (size_t i = 0; i < FAR_ENOUGH;) {
    const auto at = reinterpret_cast<uintptr_t>(text + i);
    if (!IsPageReadable(at)) return false;
    const size_t rest = std::max<size_t>((PageSize() - at % PageSize()) / sizeof(wchar_t), 1);
    if (wmemchr(text + i, 0, rest) != nullptr) return true;
    i += rest;
  }
  return false;
}

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

void CheckArray(const Request& request, const std::string& what) {
  const size_t capacity = *request.count;
  if (request.array == nullptr) {
    if (capacity != 0) {
      Report(Rule::NULL_ARRAY, what + " came with no array and a count of " + std::to_string(capacity));
    }
    return;
  }
  const size_t size = capacity * request.recordSize;
  if (size == 0 || HasRoom(request.array, size)) return;
  const size_t room = RoomAt(request.array).value_or(0) / request.recordSize;
  Report(Rule::ARRAY_TOO_SMALL, what + " said " + std::to_string(capacity) + ", and the array " +
                                    (room == 0 ? "ends before that" : "has room for " + std::to_string(room)));
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
