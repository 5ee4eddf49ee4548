/// compat.cpp: the functions that the module exports beside its entry points, in the manner of a desktop component
/// interface: variants, wide strings and the time. They are declared in kestrune.h; the module calls none of them
/// itself.
#include <errno.h>
#include <stdlib.h>
#include <sys/sysinfo.h>
#include <time.h>

#include <cstring>
#include <new>

#include "hostdata/value.h"
#include "kestrune/kestrune.h"

BSTR SysAllocString(const wchar_t* text) {
  if (text == nullptr) return nullptr;
  const size_t length = wcslen(text);
  BSTR string = new (std::nothrow) wchar_t[length + 1];
  if (string != nullptr) wmemcpy(string, text, length + 1);
  return string;
}

BSTR SysAllocString(const char* text) {
  try {
    return text == nullptr ? nullptr : TextWidener().Widen(text);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

int64_t VariantCopy(tagVARIANT* destination, const tagVARIANT* source) {
  *destination = *source;
  if (source->vt == VT_BSTR) destination->value.bstrVal = SysAllocString(source->value.bstrVal);
  return 0;
}

int64_t VariantClear(tagVARIANT* variant) {
  ReleaseVariant(*variant);
  return 0;
}

uint64_t GetTickCount() {
  struct sysinfo info {};
  sysinfo(&info);
  return static_cast<uint64_t>(info.uptime) * 1000;
}

void Sleep(uint32_t milliseconds) {
  timespec rest{.tv_sec = static_cast<time_t>(milliseconds / 1000),
                .tv_nsec = static_cast<long>(milliseconds % 1000) * 1'000'000};
  while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
  }
}

char* sprintwcs(char* destination, const wchar_t* source, uint32_t limit) {
  if (source == nullptr || wcstombs(destination, source, limit) == static_cast<size_t>(-1)) {
    memcpy(destination, "null", sizeof("null"));
  }
  return destination;
}
