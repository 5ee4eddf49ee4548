/// globalproperty.h: the settings word that the host hands over, and its handlers.
#ifndef KESTRUNE_HOSTDATA_GLOBALPROPERTY_H_
#define KESTRUNE_HOSTDATA_GLOBALPROPERTY_H_

#include <cstdint>

/// Stores a settings word in g_SPGlobal and what it says in g_bRepeatEvent and g_uiUpdateInterval.
void StoreSettings(uint64_t settings);

/// Handlers of SP_GBLPROPERTY. pArg1: the 8-byte settings word, out or in.
int32_t OnGetGblProperty(void* pArg1, void* pArg2, void* pArg3);
int32_t OnSetGblProperty(void* pArg1, void* pArg2, void* pArg3);

#endif  // KESTRUNE_HOSTDATA_GLOBALPROPERTY_H_
