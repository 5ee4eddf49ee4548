#include "hostdata/configitem.h"

#include "hostdata/catalogue.h"
#include "hostdata/logread.h"
#include "hostdata/replyitems.h"
#include "platform/message.h"

namespace {

enum class FetchResult { FILLED, EMPTY, TOO_SMALL, FAILED };

/// Filters a log, or a range of it, into the host's `capacity` items. On FILLED, and then alone, the items are the
/// host's, numbered from the range's begin or from 1, and `capacity` holds how many there are.
FetchResult FetchItems(const LogSource& log, uint64_t* begin, uint64_t* end, uint32_t& capacity, tagCONFIGITEM* items) {
  FilterOutput output;
  log.pfnFilter(log, output, begin, end);
  if (output.ullCount == 0) return FetchResult::EMPTY;
  if (capacity < output.ullCount) return FetchResult::TOO_SMALL;
  ReplyItems reply(output.ullCount);
  const uint32_t firstIndex = begin == nullptr ? 1 : static_cast<uint32_t>(*begin);
  if (log.pfnFill(log, output, reply.Data(), firstIndex) == 0) return FetchResult::FAILED;
  capacity = reply.HandOver(items);
  return FetchResult::FILLED;
}

/// The work of OnGetConfigItem; `id` is what the identifier named. A refusal leaves count and items as they were.
/// Throws std::bad_alloc, likewise.
int GetLogConfigItem(uint32_t id, uint32_t* count, tagCONFIGITEM* items) {
  const LogSource* log = FindLogSource(id);
  if (log == nullptr) {
    Error("Err (%s:GetLogConfigItem): Unknow ID!\n");
    return 0;
  }
  log->pfnUpdate();
  if (items == nullptr || !log->pfnIsReady()) {
    *count = static_cast<uint32_t>(CountLog(*log, 0, nullptr, nullptr));
    return 1;
  }
  switch (FetchItems(*log, nullptr, nullptr, *count, items)) {
    case FetchResult::FILLED:
      return 1;
    case FetchResult::EMPTY:
      *count = 0;
      return 1;
    case FetchResult::TOO_SMALL:
      Error("Err (%s:GetLogConfigItem): Not enough buffer!\n");
      return 0;
    case FetchResult::FAILED:
      break;
  }
  return 0;
}

/// The work of OnGetConfigItemEx, as above.
int GetLogConfigItemEx(uint32_t id, tagITEMRANGE* range, tagCONFIGITEM* items) {
  uint64_t begin = range->dwBegin;
  uint64_t end = range->dwEnd;
  const LogSource* log = FindLogSource(id);
  if (log == nullptr) {
    Error("Err (%s:GetLogConfigItemEx): Unknow ID!\n");
    return 0;
  }
  log->pfnUpdate();
  if (!log->pfnIsReady()) {
    range->dwCount = 0;
    return 1;
  }
  if (items == nullptr) {
    if (range->dwCount != 0) {
      Error("Err (%s:GetLogConfigItemEx): The buffer error!\n");
      return 0;
    }
    range->dwCount = static_cast<uint32_t>(CountLog(*log, log->nSortFirst, &begin, &end));
    range->dwBegin = static_cast<uint32_t>(begin);
    range->dwEnd = static_cast<uint32_t>(end);
    return 1;
  }
  if (range->dwCount == 0) {
    Debug("Dbg (%s:GetLogConfigItemEx): The range is 0!\n");
    return 0;
  }
  switch (FetchItems(*log, &begin, &end, range->dwCount, items)) {
    case FetchResult::FILLED:
      range->dwBegin = static_cast<uint32_t>(begin);
      range->dwEnd = static_cast<uint32_t>(end);
      return 1;
    case FetchResult::EMPTY:
      range->dwCount = 0;
      return 1;
    case FetchResult::TOO_SMALL:
      Error("Err (%s:GetLogConfigItemEx): Not enough buffer!\n");
      return 0;
    case FetchResult::FAILED:
      break;
  }
  return 0;
}

}  // namespace

int32_t OnGetConfigItem(void* pArg1, void* pArg2, void* pArg3) {
  Debug("Dbg (%s): in OnGetConfigItem\n");
  if (pArg1 == nullptr || pArg2 == nullptr) {
    Error("Err (%s:OnGetConfigItem): Parameter error!\n");
    return 0;
  }
  uint32_t index = 0;
  const uint32_t id = ParseIDV(pArg1, &index);
  if (id == 0) return 0;
  return GetLogConfigItem(id, static_cast<uint32_t*>(pArg2), static_cast<tagCONFIGITEM*>(pArg3));
}

int32_t OnGetConfigItemEx(void* pArg1, void* pArg2, void* pArg3) {
  Debug("Dbg (%s): in OnGetConfigItemEx\n");
  if (pArg1 == nullptr || pArg2 == nullptr) {
    Error("Err (%s:OnGetConfigItemEx): Parameter error!\n");
    return 0;
  }
  uint32_t index = 0;
  const uint32_t id = ParseIDV(pArg1, &index);
  if (id == 0) return 0;
  return GetLogConfigItemEx(id, static_cast<tagITEMRANGE*>(pArg2), static_cast<tagCONFIGITEM*>(pArg3));
}
