/// compat.h: how values get into variants. The exported functions of this layer are declared in kestrune.h.
#ifndef KESTRUNE_FRAME_COMPAT_H_
#define KESTRUNE_FRAME_COMPAT_H_

#include <cstdint>

#include "kestrune/kestrune.h"

/// Makes `variant` the integer `value`; what it held before is released.
void AssignInteger(tagVARIANT& variant, int64_t value);

/// Makes `variant` the string `text` (in the current locale, may be null); what it held before is released. A string
/// that cannot be allocated makes it VT_ERROR with KESTRUNE_OUT_OF_MEMORY.
void AssignString(tagVARIANT& variant, const char* text);

#endif  // KESTRUNE_FRAME_COMPAT_H_
