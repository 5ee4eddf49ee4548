#include "hostdata/propertywrite.h"

#include <stdlib.h>
#include <syslog.h>

#include <array>
#include <span>

#include "hostdata/catalogue.h"
#include "kestrune/kestrune.h"
#include "platform/message.h"

namespace {

/// What stands before a text of each level, so that the level can be told in the system log.
const char* PrefixForLevel(uint32_t level) {
  switch (level) {
    case 1:
      return "WebUI: ";
    case 2:
      return "WebUI(Warning): ";
    case 3:
      return "WebUI(Critical): ";
    default:
      return "";
  }
}

/// The level and text of one item; when an entry occurs more than once, the last one counts.
class WriteRequest {
 public:
  explicit WriteRequest(const tagCONFIGITEM& item) {
    if (item.pEntries == nullptr) return;
    for (const tagCONFIGENTRY& entry : std::span(item.pEntries, item.dwEntryCount)) {
      if ((entry.dwAttributes & CE_ATTRIBUTE_WRITABLE) == 0) continue;
      if (entry.dwEntryID == CE_LEVEL) ReadLevel(entry.varValue);
      if (entry.dwEntryID == CE_TEXT) ReadText(entry.varValue);
    }
  }

  bool IsComplete() const { return hasLevel_ && hasText_; }

  void WriteToSystemLog() const { syslog(LOG_NOTICE, "%s%s", PrefixForLevel(level_), text_.data()); }

 private:
  void ReadLevel(const tagVARIANT& value) {
    level_ = static_cast<uint32_t>(value.value.ullVal);
    hasLevel_ = true;
  }

  void ReadText(const tagVARIANT& value) {
    if (value.vt != VT_BSTR || value.value.bstrVal == nullptr) return;
    std::array<char, TEXT_SIZE> text{};
    // A longer text is cut at a character's end; the last byte stays 0.
    if (wcstombs(text.data(), value.value.bstrVal, text.size() - 1) == static_cast<size_t>(-1)) return;
    text_ = text;
    hasText_ = true;
  }

  static constexpr size_t TEXT_SIZE = 256;
  uint32_t level_ = 0;
  std::array<char, TEXT_SIZE> text_{};
  bool hasLevel_ = false;
  bool hasText_ = false;
};

}  // namespace

int32_t OnSetProperty(void* pArg1, void* pArg2, void* pArg3) {
  Debug("Dbg (%s): in OnGetProperty\n");
  const auto* count = static_cast<const uint32_t*>(pArg2);
  if (pArg1 == nullptr || count == nullptr || (pArg3 == nullptr && *count != 0)) {
    Error("Err (%s:OnGetProperty): Parameter error!\n");
    return 0;
  }
  uint32_t index = 0;
  const uint32_t id = ParseIDV(pArg1, &index);
  if (id == 0) return 0;
  if (id != CONFIG_TYPE_LOG && FindLogSource(id) == nullptr) {
    Error("Err (%s:OnSetProperty): The IPV error!\n");
    return 0;
  }
  for (const tagCONFIGITEM& item : std::span(static_cast<const tagCONFIGITEM*>(pArg3), *count)) {
    if (item.dwID != CONFIG_TYPE_LOG) continue;
    const WriteRequest request(item);
    if (!request.IsComplete()) {
      Debug("Err (%s:OnSetProperty): Ignore to write log, no sufficient config entries!\n");
      continue;
    }
    request.WriteToSystemLog();
  }
  return 1;
}
