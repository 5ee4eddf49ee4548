/// host.cpp: a complete host. Loads the module, lists the logs that this machine has, and prints the newest lines of
/// one.
///
///   kestrune-example-host MODULE [NUMBER-OF-LINES]
#include <dlfcn.h>

#include <clocale>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "kestrune/kestrune.h"

// What the module imports from its host. The gm... functions are those of NUBO, a host's hardware-access module: the
// way to the management controller. Many machines have no controller, and that is a normal case: NUBO answers 0 from
// the first, and the module shows the text logs and does not offer the System Event Log.
extern "C" {

__attribute__((format(printf, 2, 3))) void Output(int level, const char* format, ...) {
  if (level > 512) return;  // debug messages
  va_list arguments;
  va_start(arguments, format);
  vfprintf(stderr, format, arguments);  // NOLINT(clang-analyzer-valist.Uninitialized): it is started
  va_end(arguments);
}

int GeneralOSSupportChecking() { return 1; }
int GetOSDist() { return 0; }

int gmInitialize() { return 0; }
int gmUninitialize() { return 1; }
int gmGetIPMIInfo(void* /*info*/) { return 0; }
int gmGetProperty(const char* /*name*/, uint32_t* /*size*/, char* /*buffer*/) { return 0; }
int gmSELEnumEntry(uint32_t* /*count*/) { return 0; }
int gmGetIPMIEntry(void* /*entry*/) { return 0; }
int gmEnterMutex(uint32_t /*timeout*/) { return 1; }
int gmExitMutex() { return 1; }
int gmExecSensorValue(uint32_t /*sensor*/, const char* /*operation*/, int /*count*/, tagVARIANT* /*in*/,
                      tagVARIANT* /*out*/) {
  return 0;
}

}  // extern "C"

namespace {

/// The module's entry points; unloads it at the end.
class Module {
 public:
  explicit Module(const char* path) : library_(dlopen(path, RTLD_NOW)) {
    if (library_ == nullptr) Fail(dlerror());
    Find("SPInitialize", initialize_);
    Find("SPUninitialize", uninitialize_);
    Find("SPConfig", config_);
    uint32_t out = 0;
    if (initialize_(nullptr, &out) == 0) Fail("the module does not start");
  }
  ~Module() {
    uninitialize_();
    dlclose(library_);
  }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  bool Get(const char* request, void* first, void* second, void* third) const {
    return config_(SP_OP_GET, request, first, second, third) == 1;
  }

  [[noreturn]] static void Fail(const char* why) {
    fprintf(stderr, "%s\n", why);
    exit(1);
  }

 private:
  template <typename Function>
  void Find(const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library_, name));
    if (function == nullptr) Fail(name);
  }

  void* library_;
  decltype(&SPInitialize) initialize_ = nullptr;
  decltype(&SPUninitialize) uninitialize_ = nullptr;
  decltype(&SPConfig) config_ = nullptr;
};

/// The log groups: asks for their number, then for the groups.
std::vector<tagCONFIGGROUP> ListLogs(const Module& module) {
  uint32_t count = 0;
  module.Get(SP_CONFIGGROUPS, &count, nullptr, nullptr);
  std::vector<tagCONFIGGROUP> groups(count);
  if (!module.Get(SP_CONFIGGROUPS, &count, groups.data(), nullptr)) Module::Fail("no catalogue");
  return groups;
}

const wchar_t* TextOf(const tagCONFIGENTRY& entry) {
  const bool isText = entry.varValue.vt == VT_BSTR && entry.varValue.value.bstrVal != nullptr;
  return isText ? entry.varValue.value.bstrVal : L"";
}

/// Prints the newest `lines` records of a log and frees what became this host's.
void PrintNewest(const Module& module, uint16_t log, uint32_t lines) {
  tagIDV identifier{};
  identifier.dwIDVType = IDV_CONFIGGROUP;
  identifier.id.group.wConfigGroupID = log;
  tagITEMRANGE range{1, lines, 0, 0};
  if (!module.Get(SP_CONFIGITEMEX, &identifier, &range, nullptr)) Module::Fail("the log cannot be counted");
  if (range.dwCount == 0) return;
  // The log may grow between the two calls, but the range does not.
  std::vector<tagCONFIGITEM> items(range.dwCount);
  range = {1, range.dwCount, 0, range.dwCount};
  if (!module.Get(SP_CONFIGITEMEX, &identifier, &range, items.data())) Module::Fail("the log cannot be read");
  items.resize(range.dwCount);
  for (const tagCONFIGITEM& item : items) {
    for (uint32_t i = 0; i < item.dwEntryCount; ++i) printf("%ls ", TextOf(item.pEntries[i]));
    printf("\n");
    delete[] item.pEntries;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) Module::Fail("usage: kestrune-example-host MODULE [NUMBER-OF-LINES]");
  setlocale(LC_CTYPE, "");  // the encoding of the logs
  const uint32_t lines = argc > 2 ? static_cast<uint32_t>(strtoul(argv[2], nullptr, 10)) : 5;
  const Module module(argv[1]);
  uint16_t shown = 0;
  for (const tagCONFIGGROUP& group : ListLogs(module)) {
    printf("group 0x%02X\n", group.wGroupID);
    if (group.wParentGroupID == CONFIG_GROUP_LOGS && shown == 0) shown = group.wGroupID;
  }
  if (shown != 0 && lines != 0) PrintNewest(module, shown, lines);
}
