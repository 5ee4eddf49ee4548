/// resmgr.cpp: the stand-in for the host's resource-manager library, libresmgr.so. It keeps nothing itself: the host
/// process that it is loaded into answers. In one without the functions for that it starts, and has no strings.
#include "standin/resmgr.h"

#include "kestrune/kestrune.h"

#pragma weak HostMgrInit
#pragma weak HostGetStringA
#pragma weak HostGetStringW
#pragma weak HostMgrUninit

extern "C" {

KESTRUNE_EXPORT int MgrInit(void) { return HostMgrInit == nullptr ? 1 : HostMgrInit(); }

KESTRUNE_EXPORT int GetStringA(uint16_t language, const standin::StringRequest* request, char* buffer,
                               uint32_t* size) {
  return HostGetStringA == nullptr ? 0 : HostGetStringA(language, request, buffer, size);
}

KESTRUNE_EXPORT int GetStringW(void) { return HostGetStringW == nullptr ? 0 : HostGetStringW(); }

KESTRUNE_EXPORT int MgrUninit(void) { return HostMgrUninit == nullptr ? 1 : HostMgrUninit(); }

}  // extern "C"
