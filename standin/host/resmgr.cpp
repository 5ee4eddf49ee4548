/// resmgr.cpp: the stand-in for the host's resource-manager library, libresmgr.so. It keeps nothing itself: the host
/// process that it is loaded into answers. In one without the functions for that it starts, and has no strings.
#include "standin/host/resmgr.h"

#include "kestrune/kestrune.h"

#pragma weak HostManager
#pragma weak HostGetStringA
#pragma weak HostGetStringW

extern "C" {

KESTRUNE_EXPORT int MgrInit(void) { return HostManager == nullptr ? 1 : HostManager(1); }

KESTRUNE_EXPORT int GetStringA(uint16_t language, const standin::StringRequest* request, char* buffer, uint32_t* size) {
  return HostGetStringA == nullptr ? 0 : HostGetStringA(language, request, buffer, size);
}

KESTRUNE_EXPORT int GetStringW(void) { return HostGetStringW == nullptr ? 0 : HostGetStringW(); }

KESTRUNE_EXPORT int MgrUninit(void) { return HostManager == nullptr ? 1 : HostManager(0); }

}  // extern "C"
