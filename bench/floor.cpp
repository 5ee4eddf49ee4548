#include "bench/floor.h"

namespace bench {
namespace {

constexpr uint32_t kEntries = 5;

}  // namespace

void HostItems::Free() {
  for (tagCONFIGITEM& item : items_) {
    delete[] item.pEntries;
    item.pEntries = nullptr;
  }
}

Floor::Floor(HostItems& items) {
  for (size_t i = 0; i < items.Capacity(); ++i) {
    for (uint32_t j = 0; j < kEntries; ++j) {
      const tagCONFIGENTRY& entry = items.Data()[i].pEntries[j];
      const bool is_text = entry.varValue.vt == VT_BSTR;
      const size_t length = is_text ? wcslen(entry.varValue.value.bstrVal) : 0;
      entries_.push_back({entry.dwEntryID, is_text, is_text ? 0 : entry.varValue.value.llVal, text_.size(), length});
      for (size_t k = 0; k < length; ++k) text_ += static_cast<char>(entry.varValue.value.bstrVal[k]);
    }
  }
}

void Floor::Build(HostItems& items) const {
  const Entry* next = entries_.data();
  for (uint32_t i = 0; i < items.Capacity(); ++i) {
    tagCONFIGITEM& item = items.Data()[i];
    item = {i + 1, LOG_MESSAGES, kEntries, new tagCONFIGENTRY[kEntries]};
    for (uint32_t j = 0; j < kEntries; ++j, ++next) {
      tagCONFIGENTRY& entry = item.pEntries[j];
      entry.dwEntryID = next->id;
      entry.dwAttributes = CE_ATTRIBUTE_READONLY;
      if (!next->is_text) {
        entry.varValue.vt = VT_I4;
        entry.varValue.value.llVal = next->number;
        continue;
      }
      const auto* text = reinterpret_cast<const unsigned char*>(text_.data()) + next->offset;
      auto* wide = new wchar_t[next->length + 2];  // a reply's strings have a second zero
      for (size_t k = 0; k < next->length; ++k) wide[k] = text[k];
      wide[next->length] = wide[next->length + 1] = L'\0';
      entry.varValue.vt = VT_BSTR;
      entry.varValue.value.bstrVal = wide;
    }
  }
}

}  // namespace bench
