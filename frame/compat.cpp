#include "frame/compat.h"

#include <errno.h>
#include <stdlib.h>
#include <sys/sysinfo.h>
#include <time.h>

#include <cstring>
#include <new>

BSTR SysAllocString(const wchar_t* text) {
  if (text == nullptr) return nullptr;
  const size_t length = wcslen(text);
  BSTR string = new (std::nothrow) wchar_t[length + 1];
  if (string != nullptr) wmemcpy(string, text, length + 1);
  return string;
}

BSTR SysAllocString(const char* text) {
  if (text == nullptr) return nullptr;
  const size_t length = mbstowcs(nullptr, text, 0);
  if (length == static_cast<size_t>(-1)) return new (std::nothrow) wchar_t[1]();
  // One element more than the terminator needs: hosts rely on a second zero behind it.
  BSTR string = new (std::nothrow) wchar_t[length + 2]();
  if (string != nullptr) mbstowcs(string, text, length + 2);
  return string;
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

void AssignInteger(tagVARIANT& variant, int64_t value) {
  if (variant.vt != VT_I4) {
    ReleaseVariant(variant);
    variant.vt = VT_I4;
  }
  variant.value.llVal = value;
}

void AssignString(tagVARIANT& variant, const char* text) {
  ReleaseVariant(variant);
  variant.vt = VT_BSTR;
  variant.value.bstrVal = SysAllocString(text);
  if (text != nullptr && variant.value.bstrVal == nullptr) {
    variant.vt = VT_ERROR;
    variant.value.ullVal = KESTRUNE_OUT_OF_MEMORY;
  }
}
