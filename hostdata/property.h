/// property.h: how many records the logs hold, one item per log.
#ifndef KESTRUNE_HOSTDATA_PROPERTY_H_
#define KESTRUNE_HOSTDATA_PROPERTY_H_

#include <cstdint>

/// Handler of SP_PROPERTY, get. pArg1: tagIDV of a log; CONFIG_TYPE_LOG with index 0 asks for all five. pArg2:
/// uint32_t, capacity in items in, count out. pArg3: tagCONFIGITEM array, or null for the count alone.
int32_t OnGetProperty(void* pArg1, void* pArg2, void* pArg3);

#endif  // KESTRUNE_HOSTDATA_PROPERTY_H_
