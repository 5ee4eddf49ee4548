/// module.h: a loaded and started module, driven through its entry points alone.
#ifndef KESTRUNE_STANDIN_MODULE_H_
#define KESTRUNE_STANDIN_MODULE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "kestrune/kestrune.h"

namespace standin {

class Module {
 public:
  /// Loads and starts the module at `path`. Throws Failure.
  explicit Module(const std::string& path);

  /// Stops and unloads it.
  ~Module();

  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  /// Sends one request. Returns whether it succeeded.
  bool Request(uint32_t operation, const char* name, void* arg1, void* arg2, void* arg3) const;

  /// Has the module print its dump of the controller's log on standard output.
  void DumpSel() const;

  bool repeat_event() const { return *repeat_event_ != 0; }
  uint32_t update_interval() const { return *update_interval_; }

 private:
  struct Unload {
    void operator()(void* handle) const;
  };

  std::unique_ptr<void, Unload> handle_;
  decltype(&SPInitialize) initialize_;
  decltype(&SPUninitialize) uninitialize_;
  decltype(&SPConfig) config_;
  decltype(&ShowBMCSELLogDebug) dump_;
  const uint32_t* repeat_event_;
  const uint32_t* update_interval_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_MODULE_H_
