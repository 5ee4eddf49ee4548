#include "probe/trouble.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "probe/room.h"
#include "probe/troublechoice.h"

namespace probe {
namespace {

/// Text of several scripts, with a character beyond the first plane.
constexpr std::wstring_view FOREIGN_TEXT =
    L"\u00C4rger im L\u00FCfter \u2013 \u6E29\u5EA6 \u0442\u0435\u0441\u0442 \U0001F525";
/// A line's first 510 bytes are its item, and the first 16 of them its date and time.
constexpr size_t LONGEST_FIELD = 510 - 16;

bool IsLog(const Request& request) { return request.kind == Kind::ITEMS || request.kind == Kind::RANGE; }

void PutString(tagVARIANT& value, std::wstring_view text) {
  ReleaseVariant(value);
  value.value.bstrVal = new wchar_t[text.size() + 2]();
  text.copy(value.value.bstrVal, text.size());
  value.vt = VT_BSTR;
}

tagCONFIGENTRY* MakeEntries(uint64_t log, uint32_t number) {
  constexpr std::array<uint32_t, 5> TEXT{CE_DATE, CE_TIME, CE_SOURCE, CE_HOST, CE_MESSAGE};
  constexpr std::array<uint32_t, 5> SEL{CE_DATE, CE_TIME, CE_MESSAGE, CE_SENSOR, CE_ORIGIN};
  auto* entries = new tagCONFIGENTRY[TEXT.size()];
  for (size_t i = 0; i < TEXT.size(); ++i) {
    tagCONFIGENTRY& entry = entries[i];
    entry.dwEntryID = log == LOG_SEL ? SEL.at(i) : TEXT.at(i);
    entry.dwAttributes = CE_ATTRIBUTE_READONLY;
    if (entry.dwEntryID == CE_ORIGIN) {
      entry.varValue.vt = VT_I4;
    } else if (entry.dwEntryID == CE_DATE) {
      PutString(entry.varValue, L"Jan 02");
    } else if (entry.dwEntryID == CE_TIME) {
      PutString(entry.varValue, L"03:04:05");
    } else {
      PutString(entry.varValue, L"record " + std::to_wstring(number));
    }
  }
  return entries;
}

/// Answers from a log of `records` records that is not there.
int32_t AnswerFromRecords(const Request& request, uint32_t records) {
  uint32_t begin = 1, end = records;
  if (request.range != nullptr) {
    begin = std::max(request.range->dwBegin, 1U);
    if (request.range->dwEnd != 0) end = std::min(request.range->dwEnd, records);
  }
  const uint32_t count = begin > end ? 0 : end - begin + 1;
  if (request.array != nullptr) {
    if (*request.count < count || (request.range != nullptr && *request.count == 0)) return 0;
    for (uint32_t i = 0; i < count; ++i) {
      const auto log = static_cast<uint32_t>(request.Log());
      request.Items()[i] = {begin + i, log, 5, MakeEntries(log, begin + i)};
    }
  }
  *request.count = count;
  if (request.range != nullptr && count != 0) {
    request.range->dwBegin = begin;
    request.range->dwEnd = end;
  }
  return 1;
}

/// The catalogue without a log: the parent group alone, or a list of no types.
int32_t AnswerEmptyCatalogue(const Request& request) {
  const tagCONFIGGROUP parent{0, CONFIG_GROUP_LOGS, 0, 0, 0};
  const uint32_t capacity = *request.count;
  const bool isGroups = request.kind == Kind::GROUPS;
  const auto needed = static_cast<uint32_t>(isGroups ? 1 : sizeof(tagCONFIGTYPELIST));
  if (request.array != nullptr) {
    if (capacity < needed) return 0;
    if (isGroups) {
      memcpy(request.array, &parent, sizeof(parent));
    } else {
      memset(request.array, 0, sizeof(uint32_t));  // the number of types; what is reserved stays
    }
  }
  *request.count = needed;
  return 1;
}

tagVARIANT* Find(const tagCONFIGITEM& item, uint32_t id) {
  for (uint32_t i = 0; i < item.dwEntryCount; ++i) {
    if (item.pEntries[i].dwEntryID == id) return &item.pEntries[i].varValue;
  }
  return nullptr;
}

/// Takes the last items back, but for the first one; behind the rest the array is as it was.
void Shrink(const Request& request, uint32_t by, const std::vector<tagCONFIGITEM>& before) {
  for (; by > 0 && *request.count > 1; --by) {
    const uint32_t last = --*request.count;
    if (request.range != nullptr) --request.range->dwEnd;
    delete[] request.Items()[last].pEntries;
    request.Items()[last] = before[last];
  }
}

void RemoveEntries(tagCONFIGITEM& item) {
  delete[] item.pEntries;
  item.pEntries = nullptr;
  item.dwEntryCount = 0;
}

void SpoilText(tagCONFIGITEM* items, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    tagVARIANT* message = Find(items[i], CE_MESSAGE);
    if (message == nullptr) continue;
    PutString(*message, i % 2 == 0 ? std::wstring(FOREIGN_TEXT) : std::wstring(LONGEST_FIELD, L'W'));
  }
}

/// Does to a fetched reply what the trouble is.
void SpoilReply(const Request& request, const Choice& choice, const std::vector<tagCONFIGITEM>& before) {
  tagCONFIGITEM* items = request.Items();
  const uint32_t count = *request.count;
  if (request.kind == Kind::PROPERTY && choice.trouble == Trouble::RECORDS) {
    for (uint32_t i = 0; i < count; ++i) {
      if (tagVARIANT* records = Find(items[i], CE_RECORDS)) records->value.llVal = choice.number;
    }
  }
  if (!IsLog(request) || count == 0) return;
  if (choice.trouble == Trouble::SHRINK && count <= before.size()) Shrink(request, choice.number, before);
  if (choice.trouble == Trouble::NO_ENTRIES) RemoveEntries(items[count / 2]);
  if (choice.trouble == Trouble::TEXT) SpoilText(items, count);
  for (uint32_t i = 0; choice.trouble == Trouble::ERROR_VALUE && i < count; ++i) {
    tagVARIANT* message = Find(items[i], CE_MESSAGE);
    if (message == nullptr) continue;
    ReleaseVariant(*message);
    message->vt = VT_ERROR;
    message->value.ullVal = KESTRUNE_OUT_OF_MEMORY;
  }
}

bool IsMeant(const Request& request, Trouble trouble) {
  switch (trouble) {
    case Trouble::NONE:
      return false;
    case Trouble::EMPTY_CATALOGUE:
      return request.kind == Kind::GROUPS || request.kind == Kind::TYPES;
    case Trouble::REFUSE:
    case Trouble::NO_MEMORY:
    case Trouble::LATE:
      return request.array != nullptr;
    case Trouble::GROW:
      return IsLog(request) && request.array == nullptr;
    case Trouble::RECORDS:
      return IsLog(request) || (request.kind == Kind::PROPERTY && request.array != nullptr);
    case Trouble::GONE:
      return IsLog(request);
    default:
      return IsLog(request) && request.array != nullptr;
  }
}

}  // namespace

void ReadTrouble() { ReadTroubleChoice(); }

int32_t AnswerWithTrouble(const Request& request, const std::function<int32_t()>& ask, const char** trouble) {
  const Choice choice = ChooseTrouble(request);
  if (!IsMeant(request, choice.trouble)) return ask();
  *trouble = NameOf(choice.trouble);
  if (choice.trouble == Trouble::REFUSE || choice.trouble == Trouble::NO_MEMORY) return 0;
  if (choice.trouble == Trouble::EMPTY_CATALOGUE) return AnswerEmptyCatalogue(request);
  if (choice.trouble == Trouble::GONE) return AnswerFromRecords(request, 0);
  if (choice.trouble == Trouble::RECORDS && IsLog(request)) return AnswerFromRecords(request, choice.number);
  std::vector<tagCONFIGITEM> before;
  if (choice.trouble == Trouble::SHRINK && HasRoom(request.Items(), *request.count * sizeof(tagCONFIGITEM))) {
    before.assign(request.Items(), request.Items() + *request.count);
  }
  const int32_t result = ask();
  if (choice.trouble == Trouble::LATE) std::this_thread::sleep_for(std::chrono::milliseconds(choice.number));
  if (result == 0) return result;
  if (choice.trouble == Trouble::GROW) {
    *request.count -= std::min(choice.number, *request.count == 0 ? 0 : *request.count - 1);
  } else if (request.array != nullptr) {
    SpoilReply(request, choice, before);
  }
  return result;
}

}  // namespace probe
