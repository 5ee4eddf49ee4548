/// value.h: how values get into variants: wide strings made of multibyte text, and the rules of assignment.
#ifndef KESTRUNE_HOSTDATA_VALUE_H_
#define KESTRUNE_HOSTDATA_VALUE_H_

#include <cstdint>
#include <string_view>

#include "kestrune/kestrune.h"

/// Makes wide strings of multibyte text. The constructor looks at the current locale once, so an object is good for one
/// request.
class TextWidener {
 public:
  TextWidener();

  /// A new wide string of `text`, which holds no NUL, to be freed with array delete; the empty string where the text is
  /// invalid in the locale. Throws std::bad_alloc.
  BSTR Widen(std::string_view text) const;

 private:
  bool isASCIIPlain_;
};

/// Makes `variant` the integer `value`; what it held before is released.
void AssignInteger(tagVARIANT& variant, int64_t value);

/// Makes `variant` the string `text`; what it held before is released. A string that cannot be allocated makes it
/// VT_ERROR with KESTRUNE_OUT_OF_MEMORY.
void AssignString(tagVARIANT& variant, std::string_view text, const TextWidener& widener);

#endif  // KESTRUNE_HOSTDATA_VALUE_H_
