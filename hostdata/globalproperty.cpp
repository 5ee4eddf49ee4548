#include "hostdata/globalproperty.h"

#include <cstring>

#include "kestrune/kestrune.h"
#include "platform/message.h"

// Written under the module lock; the host may read them at any time.
uint64_t g_SPGlobal = 0;
uint32_t g_bRepeatEvent = 0;
uint32_t g_uiUpdateInterval = 5000;

void StoreSettings(uint64_t settings) {
  g_SPGlobal = settings;
  g_bRepeatEvent = static_cast<uint32_t>(settings & 1);
  g_uiUpdateInterval = static_cast<uint32_t>(settings >> 32);
}

int32_t OnGetGblProperty(void* pArg1, void* /*pArg2*/, void* /*pArg3*/) {
  Debug("Dbg (%s:OnGetGblProperty): in OnGetGblProperty\n");
  if (pArg1 == nullptr) return 0;
  memcpy(pArg1, &g_SPGlobal, sizeof(g_SPGlobal));
  return 1;
}

int32_t OnSetGblProperty(void* pArg1, void* /*pArg2*/, void* /*pArg3*/) {
  Debug("Dbg (%s:OnSetGblProperty): in OnSetGblProperty\n");
  if (pArg1 == nullptr) return 0;
  uint64_t settings = 0;
  memcpy(&settings, pArg1, sizeof(settings));
  StoreSettings(settings);
  return 1;
}
