/// A resource-manager library for tests. Built whole and, with OMIT_... defined, once without each of its exports.
/// Environment, read at every call:
///   RESMGR_NAMES  the names it knows, as object=name;object=name with hexadecimal objects
///   RESMGR_FAULT  "init": it does not start; "size", "text": that step of a string request fails; "empty": it says a
///                 size of 0; "full": it fills the size without a NUL; "long": it says 8 bytes too many; "short": it
///                 says 3 too few, and writes all
///   RESMGR_STATE  if set, it is set to "up" by a start and to "down" by a stop
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>

#include "translate/resmgr.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

static bool HasFault(std::string_view wanted) {
  const char* fault = std::getenv("RESMGR_FAULT");
  return fault != nullptr && wanted == fault;
}

[[maybe_unused]] static void SetState(const char* state) {
  if (std::getenv("RESMGR_STATE") != nullptr) setenv("RESMGR_STATE", state, 1);
}

#ifndef OMIT_MgrInit
EXPORTED int MgrInit() {
  if (HasFault("init")) return 0;
  SetState("up");
  return 1;
}
#endif

#ifndef OMIT_GetStringA
EXPORTED int GetStringA(uint16_t language, tagGS_PARAM* param, char* buffer, uint32_t* size) {
  const bool known = language == 0x0409 && param->dwType == GS_TYPE_SENSOR_NAME && (param->dwArg1 | param->dwArg2) == 0;
  if (!known || HasFault(buffer == nullptr ? "size" : "text")) return 0;
  std::ostringstream key;
  key << ";" << std::hex << param->dwObjectID << "=";
  const char* names = std::getenv("RESMGR_NAMES");
  const std::string list = std::string(";") + (names == nullptr ? "" : names) + ";";
  const size_t found = list.find(key.str());
  if (found == std::string::npos) return 0;
  const size_t start = found + key.str().size();
  const std::string name = list.substr(start, list.find(';', start) - start);
  if (buffer == nullptr) {
    const size_t behind = HasFault("full") ? 0 : HasFault("long") ? 9 : 1;
    const size_t missing = HasFault("short") ? 3 : 0;
    *size = HasFault("empty") ? 0 : static_cast<uint32_t>(name.size() + behind - missing);
  } else {
    std::memset(buffer, '?', *size);
    std::memcpy(buffer, name.c_str(), HasFault("short") ? name.size() + 1 : std::min<size_t>(*size, name.size() + 1));
  }
  return 1;
}
#endif

#ifndef OMIT_GetStringW
EXPORTED void GetStringW() { std::abort(); }
#endif

#ifndef OMIT_MgrUninit
EXPORTED void MgrUninit() { SetState("down"); }
#endif
