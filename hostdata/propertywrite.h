/// propertywrite.h: a message of the host's web interface on its way to the system log.
#ifndef KESTRUNE_HOSTDATA_PROPERTYWRITE_H_
#define KESTRUNE_HOSTDATA_PROPERTYWRITE_H_

#include <cstdint>

/// Handler of SP_PROPERTY, set. pArg1: tagIDV, which may name any log. pArg2: uint32_t, the number of items. pArg3: the
/// items; each with ID CONFIG_TYPE_LOG and writable CE_LEVEL and CE_TEXT entries writes one message of at most 255
/// bytes after its prefix.
int32_t OnSetProperty(void* pArg1, void* pArg2, void* pArg3);

#endif  // KESTRUNE_HOSTDATA_PROPERTYWRITE_H_
