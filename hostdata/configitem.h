/// configitem.h: the records of one log, whole or by range, newest first.
#ifndef KESTRUNE_HOSTDATA_CONFIGITEM_H_
#define KESTRUNE_HOSTDATA_CONFIGITEM_H_

#include <cstdint>

/// Handler of SP_CONFIGITEM, get. pArg1: tagIDV of a log. pArg2: uint32_t, capacity in items in, count out. pArg3:
/// tagCONFIGITEM array, or null for the count alone.
int32_t OnGetConfigItem(void* pArg1, void* pArg2, void* pArg3);

/// Handler of SP_CONFIGITEMEX, get. As above, with a tagITEMRANGE as pArg2.
int32_t OnGetConfigItemEx(void* pArg1, void* pArg2, void* pArg3);

#endif  // KESTRUNE_HOSTDATA_CONFIGITEM_H_
