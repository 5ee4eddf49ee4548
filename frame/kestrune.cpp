/// kestrune.cpp: the plug-in itself. The host's entry points, the module lock, and the table of requests.

#include "kestrune/kestrune.h"

#include <pthread.h>

#include <cstdio>

#include "frame/dispatch.h"
#include "frame/startup.h"
#include "hostdata/catalogue.h"
#include "hostdata/configitem.h"
#include "hostdata/globalproperty.h"
#include "hostdata/property.h"
#include "hostdata/propertywrite.h"
#include "platform/message.h"
#include "platform/processlock.h"
#include "sel/seldump.h"

const char kestrune_version[] = "kestrune__version " KESTRUNE_VERSION;
const char _file[] = __FILE__;  // NOLINT(bugprone-reserved-identifier): the names that hosts look up
const char _date[] = __DATE__;  // NOLINT(bugprone-reserved-identifier)
const char _time[] = __TIME__;  // NOLINT(bugprone-reserved-identifier)

/// Serialises the entry points and everything they call; all state of the module is guarded by it.
static pthread_mutex_t g_SPMutex = PTHREAD_MUTEX_INITIALIZER;

/// Set while the module is started. Guarded by g_SPMutex.
static uint32_t g_bSPInitialized = 0;

namespace {

/// Holds the module lock. A host thread that is cancelled meanwhile ends only when the lock is released: half a request
/// would leave files.
class ModuleLock {
 public:
  ModuleLock() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState_);
    pthread_mutex_lock(&g_SPMutex);
  }
  ~ModuleLock() {
    pthread_mutex_unlock(&g_SPMutex);
    pthread_setcancelstate(cancelState_, nullptr);
  }
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;

 private:
  int cancelState_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace

// Requests that hosts may send and that this module has nothing to say to.
static int32_t OnGetSensors(void*, void*, void*) { return 0; }
static int32_t OnSetReset(void*, void*, void*) { return 0; }
static int32_t OnSetThreshold(void*, void*, void*) { return 0; }
static int32_t OnGetSensorGroups(void*, void*, void*) { return 0; }
static int32_t OnSetNotify(void*, void*, void*) { return 0; }
static int32_t OnGetAsset(void*, void*, void*) { return 0; }
static int32_t OnSetConfigItem(void*, void*, void*) { return 0; }

/// Of a request's rows, the get row stands first.
static constexpr tagSPHANDLER g_SPHandlerTable[] = {
    {SP_OP_GET, SP_GBLPROPERTY, {OnGetGblProperty}, CALL_FORM_SHORT},
    {SP_OP_SET, SP_GBLPROPERTY, {OnSetGblProperty}, CALL_FORM_SHORT},
    {SP_OP_GET, "SP_SENSORS", {OnGetSensors}, CALL_FORM_SHORT},
    {SP_OP_SET, "SP_RESET", {OnSetReset}, CALL_FORM_SHORT},
    {SP_OP_SET, "SP_THRESHOLD", {OnSetThreshold}, CALL_FORM_SHORT},
    {SP_OP_GET, "SP_SENSORGROUPS", {OnGetSensorGroups}, CALL_FORM_SHORT},
    {SP_OP_SET, "SP_NOTIFY", {OnSetNotify}, CALL_FORM_SHORT},
    {SP_OP_SET, "SP_ASSET", {OnGetAsset}, CALL_FORM_SHORT},
    {SP_OP_GET, SP_CONFIGGROUPS, {OnGetConfigGroups}, CALL_FORM_SHORT},
    {SP_OP_GET, SP_PROPERTY, {OnGetProperty}, CALL_FORM_SHORT},
    {SP_OP_SET, SP_PROPERTY, {OnSetProperty}, CALL_FORM_SHORT},
    {SP_OP_GET, SP_CONFIGITEM, {OnGetConfigItem}, CALL_FORM_SHORT},
    {SP_OP_SET, SP_CONFIGITEM, {OnSetConfigItem}, CALL_FORM_SHORT},
    {SP_OP_GET, SP_CONFIGITEMEX, {OnGetConfigItemEx}, CALL_FORM_SHORT},
    {SP_OP_GET, SP_CONFIGTYPE, {OnGetConfigType}, CALL_FORM_SHORT},
    {0, nullptr, {nullptr}, 0},
};

/// Starts the data; without memory for it, that fails like any start.
static int TryToInitData() {
  try {
    return OnInitData();
  } catch (...) {
    return 0;
  }
}

int32_t SPInitialize(const uint64_t* settings, uint32_t* out) {
  if (IsOSSupported() == 0) return 0;
  const ModuleLock lock;
  if (g_bSPInitialized == 1) return 1;
  const ProcessLock processes;
  if (settings != nullptr) StoreSettings(*settings);
  if (out != nullptr) *out = 2;
  if (processes.IsHeld()) RemoveLeftFiles();
  if (TryToInitData() == 0) {
    Error("Err (%s:SPInitialize): Function OnInitData() return false\n");
    return 0;
  }
  g_bSPInitialized = 1;
  return 1;
}

int32_t SPUninitialize() {
  const ModuleLock lock;
  if (g_bSPInitialized == 0) return 0;
  const ProcessLock processes;
  OnUninitData();
  g_bSPInitialized = 0;
  return 1;
}

int32_t SPConfig(uint32_t op, const char* request, void* pArg1, void* pArg2, void* pArg3) {
  const ModuleLock lock;
  if (g_bSPInitialized == 0) {
    Error("Err: (%s)SPConfig: Have not initialized!\n");
    return 0;
  }
  const ProcessLock processes;
  return DefSPConfigHandler(static_cast<uint8_t>(op), request, pArg1, pArg2, pArg3);
}

// Handlers that run out of memory throw; here, still under the lock, that becomes a failed request.
int32_t DefSPConfigHandler(uint8_t op, const char* request, void* pArg1, void* pArg2, void* pArg3) try {
  return Dispatch(g_SPHandlerTable, op, request, pArg1, pArg2, pArg3);
} catch (...) {
  return 0;
}

void ShowBMCSELLogDebug() {
  const ModuleLock lock;
  try {
    DumpControllerLog();
  } catch (...) {
    puts("Get SEL data fail!");
  }
}
