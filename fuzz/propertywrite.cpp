/// propertywrite.cpp: items of any content write the messages that they hold to the system log, and nothing else.

#include "hostdata/propertywrite.h"

#include <optional>

#include "fuzz/host.h"

constexpr const char* PREFIXES[] = {"", "WebUI: ", "WebUI(Warning): ", "WebUI(Critical): "};
constexpr wchar_t CHARACTERS[] = {L'%', L'\u00E9', L'\u20AC', L'\U0001F600', 0xD800};
constexpr const char* BYTES[] = {"%", "\u00E9", "\u20AC", "\U0001F600", nullptr};

void Fuzz(FuzzedDataProvider& input) {
  const auto number = [&input](uint32_t most) { return input.ConsumeIntegralInRange<uint32_t>(0, most); };
  const auto id = input.PickValueInArray<uint32_t>({5, 12, 247, 248, 249, 250, 251, 252, 253});
  const bool isAccepted = id == CONFIG_TYPE_LOG || (id >= LOG_APPLICATION && id <= LOG_SEL);
  tagIDV identifier{IDV_CONFIGTYPE, 0, {.type = {0, id}}};
  uint32_t count = number(3);
  HostItems items(count);
  std::vector<std::string> expected;
  for (tagCONFIGITEM& item : items) {
    item = {1, number(1) + CONFIG_TYPE_LOG, number(4), nullptr};
    if (number(7) != 7) item.pEntries = new tagCONFIGENTRY[item.dwEntryCount];
    std::optional<std::string> prefix, text;
    for (uint32_t i = 0; item.pEntries != nullptr && i < item.dwEntryCount; ++i) {
      tagCONFIGENTRY& entry = item.pEntries[i];
      entry.dwEntryID = 1 + number(3);
      entry.dwAttributes = number(31);
      const bool isWritable = (entry.dwAttributes & (2 | 8)) != 0, isText = number(1) == 1;
      const uint32_t value = number(300), character = number(4);
      entry.varValue.vt = isText ? VT_BSTR : VT_I4;
      entry.varValue.value.ullVal = value;
      if (isText) entry.varValue.value.bstrVal = SysAllocString(std::wstring(value, CHARACTERS[character]).c_str());
      if (isWritable && entry.dwEntryID == CE_LEVEL) prefix = PREFIXES[!isText && value < 4 ? value : 0];
      if (!isWritable || entry.dwEntryID != CE_TEXT || !isText || (BYTES[character] == nullptr && value > 0)) continue;
      text = "";
      for (uint32_t k = 0; k < value && (*text + BYTES[character]).size() <= 255; ++k) *text += BYTES[character];
    }
    if (item.dwID == CONFIG_TYPE_LOG && prefix && text) expected.push_back("5 " + *prefix + *text);
  }
  Require(OnSetProperty(&identifier, &count, items.data()) == (isAccepted ? 1 : 0), "the logs alone are accepted");
  if (!isAccepted) expected.clear();
  Require(g_host.written == expected, "each whole item writes its text, cut at a character's end, as a notice");
}
