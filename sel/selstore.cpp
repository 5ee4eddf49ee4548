#include "sel/selstore.h"

#include "platform/message.h"
#include "platform/nubo.h"
#include "sel/selcache.h"
#include "translate/resmgr.h"
#include "translate/sensorid.h"

uint32_t gmEnable = 0;

namespace {

/// The steps that follow the start of the hardware-access module. Throws std::bad_alloc.
bool StartUsing() {
  tagIPMI_INFO info{};
  if (gmGetIPMIInfo(&info) == 0) {
    Debug("Dbg (%s:InitSELLog): gmGetIPMIInfo failed!\n");
    return false;
  }
  if (info.dwCardID == IPMI_NO_CARD) {
    Debug("Dbg (%s:InitSELLog): Can't find IPMI card!\n");
    return false;
  }
  Debug("Dbg (%s:InitSELLog): IPMI Card exist, ID is %ld\n", static_cast<long>(info.dwCardID));
  if (GetIpmiZarpIDTable() == 0) {
    Debug("Dbg (%s:InitSELLog): Can't get IPMI to ZARP ID table!\n");
    return false;
  }
  if (InitResMgr() == 0) {
    Debug("Dbg (%s:InitSELLog): Init resmgr failed!\n");
    return false;
  }
  return true;
}

/// As StartUsing, with a lack of memory as one more way to fail.
bool TryToStartUsing() {
  try {
    return StartUsing();
  } catch (...) {
    return false;
  }
}

}  // namespace

int InitSELLog() {
  ClearSELDataCache();
  if (gmInitialize() == 0) {
    Error("Err (%s:InitSELLog): Failed to initializing NUBO module!\n");
    return 0;
  }
  gmEnable = 1;
  if (TryToStartUsing()) return 1;
  UnInitIpmiZarpIDTable();
  if (gmUninitialize() == 0) Error("Err (%s:InitSELLog): Failed to uninitializing NUBO module!\n");
  gmEnable = 0;
  return 0;
}

void UninitSELLog() {
  if (gmEnable == 0) return;
  UninitResMgr();
  UnInitIpmiZarpIDTable();
  if (gmUninitialize() == 0) Error("Err (%s:OnUninitData): Failed to uninitializing NUBO module!\n");
  gmEnable = 0;
  ClearSELDataCache();
}
