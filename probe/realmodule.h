/// realmodule.h: the real module behind the probe: found, loaded, and asked.
#ifndef KESTRUNE_PROBE_REALMODULE_H_
#define KESTRUNE_PROBE_REALMODULE_H_

#include "kestrune/kestrune.h"

namespace probe {

/// The functions of the real module; all null while it is not loaded.
struct RealModule {
  // NOLINTBEGIN(readability-identifier-naming): the names of what they point to
  decltype(&::SPInitialize) SPInitialize;
  decltype(&::SPUninitialize) SPUninitialize;
  decltype(&::SPConfig) SPConfig;
  decltype(&::DefSPConfigHandler) DefSPConfigHandler;
  decltype(&::ShowBMCSELLogDebug) ShowBMCSELLogDebug;
  decltype(&::VariantCopy) VariantCopy;
  decltype(&::VariantClear) VariantClear;
  decltype(&::GetTickCount) GetTickCount;
  decltype(&::Sleep) Sleep;
  decltype(&::sprintwcs) sprintwcs;
  // NOLINTEND(readability-identifier-naming)
  BSTR (*allocWide)(const wchar_t*);
  BSTR (*allocMultibyte)(const char*);
};
extern RealModule real;

/// Loads the file that KESTRUNE_PROBE_MODULE names, or libkestrune.so beside the probe. If that fails, says why.
bool LoadRealModule();
void UnloadRealModule();

/// Copies what the real module exports as data to what the probe exports under the same names.
void CopyData();

}  // namespace probe

#endif  // KESTRUNE_PROBE_REALMODULE_H_
