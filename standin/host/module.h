/// module.h: a module, loaded from its file: its entry points and data, looked up by their names.
#ifndef KESTRUNE_STANDIN_HOST_MODULE_H_
#define KESTRUNE_STANDIN_HOST_MODULE_H_

#include <memory>
#include <string>

#include "kestrune/kestrune.h"

namespace standin {

class Module {
  // Above the names, which are looked up in it.
  struct Close {
    void operator()(void* handle) const;
  };
  std::string path_;
  std::unique_ptr<void, Close> handle_;

  void* FindSymbol(const char* name) const;

 public:
  /// Loads the module at `path`; a name without a slash is a file here. Throws Failure for what is no module.
  explicit Module(const std::string& path);

  /// Stops and unloads it.
  ~Module() { Unload(); }

  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  /// Stops and unloads it, after which nothing of it may be used. Returns whether it has left the process.
  bool Unload();

  /// Throws Failure when the module has no such name.
  template <typename Pointer>
  Pointer Find(const char* name) const {
    return reinterpret_cast<Pointer>(FindSymbol(name));
  }

// The member `name`, which points to what the module exports under it.
#define KESTRUNE_MODULE_NAME(name) const decltype(&::name) name = Find<decltype(&::name)>(#name)
  KESTRUNE_MODULE_NAME(SPInitialize);
  KESTRUNE_MODULE_NAME(SPUninitialize);
  KESTRUNE_MODULE_NAME(SPConfig);
  KESTRUNE_MODULE_NAME(ShowBMCSELLogDebug);
  KESTRUNE_MODULE_NAME(g_bRepeatEvent);
  KESTRUNE_MODULE_NAME(g_uiUpdateInterval);
  KESTRUNE_MODULE_NAME(AppLogList);
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_MODULE_H_
