#include "hostdata/value.h"

#include <langinfo.h>
#include <stdlib.h>

#include <new>
#include <string>

#include "platform/blocks.h"

namespace {

/// Whether each ASCII byte is the character of the same number in the current locale. Known of the two encodings that
/// machines are run with; any other goes the C library's way.
bool IsASCIIPlain() {
  const std::string_view encoding = nl_langinfo(CODESET);
  return encoding == "UTF-8" || encoding == "ANSI_X3.4-1968";
}

/// Widens a text of BLOCK bytes at least. Returns its bytes, or-ed together.
template <size_t BLOCK>
unsigned char WidenBlocks(std::string_view text, wchar_t* wide) {
  unsigned char bits = 0;
  ForEachBlock<BLOCK>(text.size(), [&](size_t begin) {
    for (size_t i = begin; i < begin + BLOCK; ++i) {
      const auto byte = static_cast<unsigned char>(text[i]);
      bits |= byte;
      wide[i] = byte;
    }
  });
  return bits;
}

/// Widens a text with the terminator and the second zero that hosts rely on behind it. Returns false when it is not all
/// ASCII.
bool WidenASCII(std::string_view text, wchar_t* wide) {
  unsigned char bits = 0;
  if (text.size() >= 16) {
    bits = WidenBlocks<16>(text, wide);
  } else if (text.size() >= 8) {
    bits = WidenBlocks<8>(text, wide);
  } else if (!text.empty()) {
    bits = WidenBlocks<1>(text, wide);
  }
  wide[text.size()] = 0;
  wide[text.size() + 1] = 0;
  return bits < 0x80;
}

/// As mbstowcs has it.
BSTR WidenAny(const char* text) {
  const size_t length = mbstowcs(nullptr, text, 0);
  if (length == static_cast<size_t>(-1)) return new wchar_t[1]();
  BSTR string = new wchar_t[length + 2]();
  mbstowcs(string, text, length + 2);
  string[length + 1] = 0;  // also where another thread has changed the locale in between
  return string;
}

}  // namespace

TextWidener::TextWidener() : isASCIIPlain_(IsASCIIPlain()) {}

BSTR TextWidener::Widen(std::string_view text) const {
  if (isASCIIPlain_) {
    // Log lines are plain ASCII but for a few, so one pass over the text usually does.
    BSTR string = new wchar_t[text.size() + 2];
    if (WidenASCII(text, string)) return string;
    delete[] string;
  }
  return WidenAny(std::string(text).c_str());
}

void AssignInteger(tagVARIANT& variant, int64_t value) {
  if (variant.vt != VT_I4) {
    ReleaseVariant(variant);
    variant.vt = VT_I4;
  }
  variant.value.llVal = value;
}

void AssignString(tagVARIANT& variant, std::string_view text, const TextWidener& widener) {
  ReleaseVariant(variant);
  try {
    variant.value.bstrVal = widener.Widen(text);
    variant.vt = VT_BSTR;
  } catch (const std::bad_alloc&) {
    variant.vt = VT_ERROR;
    variant.value.ullVal = KESTRUNE_OUT_OF_MEMORY;
  }
}
