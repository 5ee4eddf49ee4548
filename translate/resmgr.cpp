#include "translate/resmgr.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>

void* g_hRscDll = nullptr;
GetStringFunction g_lpfnGetString = nullptr;
GetStringWFunction g_lpfnGetStringW = nullptr;
uint32_t g_wLang = 0x0409;

namespace {

constexpr char LIBRARY_FILE[] = "/usr/zarp/lib/libresmgr.so";

/// Reports the loader's last error, if there was one, on standard error.
bool HadLoaderError() {
  const char* text = dlerror();
  if (text == nullptr) return false;
  fprintf(stderr, "%s\n", text);
  return true;
}

/// Looks up a function of the library. Returns false, with the error reported, when it has none of that name.
template <typename Function>
bool Resolve(const char* name, Function& function) {
  dlerror();
  function = reinterpret_cast<Function>(dlsym(g_hRscDll, name));
  return !HadLoaderError();
}

/// As Resolve, for a function that is going to be called.
template <typename Function>
bool ResolveCallable(const char* name, Function& function) {
  return Resolve(name, function) && function != nullptr;
}

void Unload() {
  if (g_hRscDll != nullptr) dlclose(g_hRscDll);
  g_hRscDll = nullptr;
  g_lpfnGetString = nullptr;
  g_lpfnGetStringW = nullptr;
}

/// Takes the library down again when its start stops half way.
class StartGuard {
 public:
  StartGuard() = default;
  StartGuard(const StartGuard&) = delete;
  StartGuard& operator=(const StartGuard&) = delete;
  ~StartGuard() {
    if (done_) return;
    // The fault that stopped the start is reported already; a missing "MgrUninit" is not one more.
    auto uninitialise = initialised_ ? reinterpret_cast<int (*)()>(dlsym(g_hRscDll, "MgrUninit")) : nullptr;
    if (uninitialise != nullptr) uninitialise();
    Unload();
  }

  void LibraryIsInitialised() { initialised_ = true; }
  void Done() { done_ = true; }

 private:
  bool initialised_ = false;
  bool done_ = false;
};

void ReportOnOutput(const char* text) { printf("Debug: %s", text); }

}  // namespace

int InitResMgr() {
  dlerror();
  g_hRscDll = dlopen(LIBRARY_FILE, RTLD_NOW);
  StartGuard guard;
  if (g_hRscDll == nullptr) {
    HadLoaderError();
    return 0;
  }
  int (*initialise)() = nullptr;
  if (!ResolveCallable("MgrInit", initialise)) return 0;
  fprintf(stderr, "Dbg (InitResMgr): Start to init ResMgr!\n");
  if (initialise() == 0) {
    fprintf(stderr, "Err (InitResMgr): Failed to initialize ResMgr!\n");
    return 0;
  }
  guard.LibraryIsInitialised();
  fprintf(stderr, "Dbg (InitResMgr): End initResMgr!\n");
  if (!ResolveCallable("GetStringA", g_lpfnGetString) || !Resolve("GetStringW", g_lpfnGetStringW)) return 0;
  guard.Done();
  return 1;
}

void UninitResMgr() {
  int (*uninitialise)() = nullptr;
  if (!Resolve("MgrUninit", uninitialise)) return;
  if (uninitialise != nullptr) uninitialise();
  Unload();
}

bool HostString::Fetch(tagGS_PARAM param) {
  if (g_hRscDll == nullptr || g_lpfnGetString == nullptr) {
    ReportOnOutput("<KESTRUNE> Resource manager is inexistent.\n");
    return false;
  }
  const auto language = static_cast<uint16_t>(g_wLang);
  uint32_t size = 0;
  if (g_lpfnGetString(language, &param, nullptr, &size) == 0) {
    ReportOnOutput("<KESTRUNE> Fail to get size of string.\n");
    return false;
  }
  const size_t length = size;
  if (length >= SHORT_SIZE) {
    // All zero, but not touched: a library that announces far more than its string has must not cost all that memory.
    long_.reset(static_cast<char*>(calloc(length + 1, 1)));
    if (long_ == nullptr) throw std::bad_alloc();
  }
  char* text = length >= SHORT_SIZE ? long_.get() : short_.data();
  if (g_lpfnGetString(language, &param, text, &size) == 0) {
    ReportOnOutput("<KESTRUNE> Fail to get string.\n");
    return false;
  }
  // A library may count no NUL, or write a string that is longer than announced.
  text[length] = '\0';
  text_ = text;
  return true;
}

int GetStringA(tagGS_PARAM param, char** string) {
  HostString fetched;
  if (!fetched.Fetch(param)) return 0;
  const std::string_view text = fetched.Text();
  auto copy = std::make_unique_for_overwrite<char[]>(text.size() + 1);
  memcpy(copy.get(), text.data(), text.size() + 1);
  *string = copy.release();
  return 1;
}
