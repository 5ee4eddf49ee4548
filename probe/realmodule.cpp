#include "probe/realmodule.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>

#include "probe/data.h"

namespace probe {

RealModule real{};

namespace {

void* library = nullptr;

void Complain(const std::string& why) {
  const std::string line = "kestrune-probe: " + why + "\n";
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

std::string OwnPath() {
  Dl_info info{};
  return dladdr(&real, &info) == 0 ? "" : info.dli_fname;
}

std::string FindModule(const std::string& own) {
  const char* named = getenv("KESTRUNE_PROBE_MODULE");
  if (named != nullptr && *named != '\0') return named;
  return std::filesystem::path(own).parent_path() / "libkestrune.so";
}

template <typename Function>
bool Find(const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

bool FindAll() {
  return Find("SPInitialize", real.SPInitialize) && Find("SPUninitialize", real.SPUninitialize) &&
         Find("SPConfig", real.SPConfig) && Find("DefSPConfigHandler", real.DefSPConfigHandler) &&
         Find("ShowBMCSELLogDebug", real.ShowBMCSELLogDebug) && Find("VariantCopy", real.VariantCopy) &&
         Find("VariantClear", real.VariantClear) && Find("GetTickCount", real.GetTickCount) &&
         Find("Sleep", real.Sleep) && Find("sprintwcs", real.sprintwcs) &&
         Find("_Z14SysAllocStringPKw", real.allocWide) && Find("_Z14SysAllocStringPKc", real.allocMultibyte);
}

}  // namespace

bool LoadRealModule() {
  const std::string own = OwnPath();
  const std::string path = FindModule(own);
  std::error_code error;
  if (std::filesystem::equivalent(path, own, error)) {
    Complain("'" + path + "' is the probe itself; KESTRUNE_PROBE_MODULE names the real module");
    return false;
  }
  library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    Complain(std::string("cannot load the real module: ") + dlerror());
    return false;
  }
  if (FindAll()) return true;
  Complain("'" + path + "' is no module");
  UnloadRealModule();
  return false;
}

void UnloadRealModule() {
  if (library != nullptr) dlclose(library);
  library = nullptr;
  real = {};
}

void CopyData() {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  for (const Data& data : exportedData) {
    const void* source = library == nullptr ? nullptr : dlsym(library, data.name);
    if (source == nullptr) continue;
    const size_t size = data.isText ? strnlen(static_cast<const char*>(source), data.size - 1) + 1 : data.size;
    // The host may be reading it.
    if (memcmp(data.own, source, size) != 0) memcpy(data.own, source, size);
  }
}

}  // namespace probe
