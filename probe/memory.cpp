#include "probe/memory.h"

#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <string_view>
#include <utility>

#include "probe/imports.h"
#include "probe/ownership.h"

namespace probe {
namespace {

thread_local int ownWork = 0;
std::atomic<bool> isWatching{false};
std::atomic<bool> areFreesSeen{false};

/// A block that the probe itself frees, to learn whether that is seen.
thread_local const void* sought = nullptr;

/// A block allocated lately; of two that share a place, the later one stays.
struct Recent {
  std::atomic<uintptr_t> block;
  std::atomic<size_t> size;
};
std::array<Recent, 16384> recents;

Recent& PlaceOf(const void* block) {
  const uint64_t mixed = (reinterpret_cast<uintptr_t>(block) >> 4) * 0x9E3779B97F4A7C15U;
  return recents[mixed >> 50];  // NOLINT(*-constant-array-index): 14 bits
}

bool IsHosts() { return ownWork == 0 && isWatching.load(std::memory_order_relaxed); }

void* Allocated(void* block, size_t size) {
  if (block == nullptr || !IsHosts()) return block;
  Recent& place = PlaceOf(block);
  place.block.store(0, std::memory_order_relaxed);
  place.size.store(size, std::memory_order_relaxed);
  place.block.store(reinterpret_cast<uintptr_t>(block), std::memory_order_release);
  return block;
}

/// Whether the block is free now without more being done.
bool Freed(void* block, Means means) {
  if (block == nullptr) return false;
  if (!IsHosts()) {
    if (block == sought) sought = nullptr;
    return false;
  }
  Recent& place = PlaceOf(block);
  uintptr_t expected = reinterpret_cast<uintptr_t>(block);
  place.block.compare_exchange_strong(expected, 0, std::memory_order_relaxed);
  const OwnWork own;
  return TakeBack(block, means);
}

// What the imports lead to.

void* New(size_t size) { return Allocated(::operator new(size), size); }
void* NewArray(size_t size) { return Allocated(::operator new[](size), size); }
void* NewOrNull(size_t size, const std::nothrow_t& tag) { return Allocated(::operator new(size, tag), size); }
void* NewArrayOrNull(size_t size, const std::nothrow_t& tag) { return Allocated(::operator new[](size, tag), size); }
void* Malloc(size_t size) { return Allocated(malloc(size), size); }
void* Calloc(size_t count, size_t size) { return Allocated(calloc(count, size), count * size); }

void* Realloc(void* block, size_t size) {
  const size_t before = malloc_usable_size(block);
  if (!Freed(block, Means::FREE)) return Allocated(realloc(block, size), size);
  void* moved = malloc(size);
  if (moved != nullptr) memcpy(moved, block, std::min(before, size));
  return Allocated(moved, size);
}

void Free(void* block) {
  if (!Freed(block, Means::FREE)) free(block);
}
void FreeUnknown(void* block) {
  if (!Freed(block, Means::UNKNOWN)) free(block);
}
void Delete(void* block) {
  if (!Freed(block, Means::DELETE)) ::operator delete(block);
}
void DeleteSized(void* block, size_t /*size*/) {
  if (!Freed(block, Means::DELETE)) ::operator delete(block);
}
void DeleteArray(void* block) {
  if (!Freed(block, Means::ARRAY_DELETE)) ::operator delete[](block);
}
void DeleteArraySized(void* block, size_t /*size*/) {
  if (!Freed(block, Means::ARRAY_DELETE)) ::operator delete[](block);
}

struct Watched {
  std::string_view name;
  void* own;
  bool frees;
};

template <typename Function>
void* Address(Function* function) {
  return reinterpret_cast<void*>(function);
}

const std::array<Watched, 12> WATCHED{{{"_Znwm", Address(New), false},
                                       {"_Znam", Address(NewArray), false},
                                       {"_ZnwmRKSt9nothrow_t", Address(NewOrNull), false},
                                       {"_ZnamRKSt9nothrow_t", Address(NewArrayOrNull), false},
                                       {"malloc", Address(Malloc), false},
                                       {"calloc", Address(Calloc), false},
                                       {"realloc", Address(Realloc), false},
                                       {"free", Address(Free), true},
                                       {"_ZdlPv", Address(Delete), true},
                                       {"_ZdlPvm", Address(DeleteSized), true},
                                       {"_ZdaPv", Address(DeleteArray), true},
                                       {"_ZdaPvm", Address(DeleteArraySized), true}}};

/// Neither the libraries of the languages nor the probe itself: what these free is their own.
bool IsHostsObject(std::string_view path, const void* base) {
  static const void* const own = [] {
    Dl_info info{};
    dladdr(Address(WatchMemory), &info);
    return static_cast<const void*>(info.dli_fbase);
  }();
  if (base == own && !path.empty()) return false;
  const std::string_view name = path.substr(path.rfind('/') + 1);
  constexpr std::array<std::string_view, 10> LANGUAGES{"libc.so", "ld-linux", "linux-vdso", "libstdc++", "libgcc_s",
                                                       "libm.so", "libasan",  "libtsan",    "libubsan",  "libclang_rt"};
  return std::ranges::none_of(LANGUAGES, [&](std::string_view known) { return name.starts_with(known); });
}

/// What the imports of an object say of its language.
struct Language {
  bool hasUnwinder = false;  ///< imports one
  bool hasRuntime = false;   ///< imports that of C++

  /// An object with the runtime of C++ linked into it: its `delete` ends in its import of `free`.
  bool BringsDelete() const { return hasUnwinder && !hasRuntime; }
};

std::map<const void*, Language> ReadLanguages() {
  std::map<const void*, Language> languages;
  RedirectImports(IsHostsObject, [&](const void* base, std::string_view name, void*) -> void* {
    Language& language = languages[base];
    language.hasUnwinder |= name.starts_with("_Unwind_") || name == "dl_iterate_phdr" || name == "_dl_find_object";
    language.hasRuntime |= name.starts_with("_Zd") || name.starts_with("__gxx_personality") || name == "__cxa_throw";
    return nullptr;
  });
  return languages;
}

/// Whether `operator delete[]`, where it is the host's own, leads to a free that is seen.
bool IsReplacedDeleteSeen() {
  if (!IsDeleteReplaced()) return true;
  void* block = ::operator new[](1);
  sought = block;
  ::operator delete[](block);
  return std::exchange(sought, nullptr) == nullptr;
}

}  // namespace

OwnWork::OwnWork() { ++ownWork; }
OwnWork::~OwnWork() { --ownWork; }

void WatchMemory() {
  if (!HaveObjectsChanged()) return;
  bool isAnyFreeSeen = areFreesSeen;
  std::map<const void*, Language> languages = ReadLanguages();
  RedirectImports(IsHostsObject, [&](const void* base, std::string_view name, void*) -> void* {
    for (const Watched& watched : WATCHED) {
      if (watched.name != name) continue;
      isAnyFreeSeen |= watched.frees;
      return name == "free" && languages[base].BringsDelete() ? Address(FreeUnknown) : watched.own;
    }
    return nullptr;
  });
  areFreesSeen = isAnyFreeSeen && IsReplacedDeleteSeen();
  isWatching = true;
}

void LeaveMemory() { isWatching = false; }

bool AreFreesSeen() { return areFreesSeen; }

bool IsDeleteReplaced() {
  static const bool isReplaced = [] {
    Dl_info info{};
    void* function = dlsym(RTLD_DEFAULT, "_ZdaPv");
    return function == nullptr || dladdr(function, &info) == 0 ||
           std::string_view(info.dli_fname).find("libstdc++") == std::string_view::npos;
  }();
  return isReplaced;
}

std::optional<size_t> RoomAt(const void* memory) {
  for (const size_t before : {size_t{0}, sizeof(size_t)}) {
    const char* block = static_cast<const char*>(memory) - before;
    const Recent& place = PlaceOf(block);
    const size_t size = place.size.load(std::memory_order_relaxed);
    if (place.block.load(std::memory_order_acquire) != reinterpret_cast<uintptr_t>(block) || size < before) continue;
    // A free that was not seen may have let another block come to stand here; it has another size.
    constexpr size_t LARGE = 131'072, ROUNDING = 32, ROUNDING_OF_LARGE = 8'192;
    void* whole = const_cast<char*>(block);  // NOLINT(*-const-cast): it is asked for its size alone
    if (malloc_usable_size(whole) > size + (size < LARGE ? ROUNDING : ROUNDING_OF_LARGE)) return std::nullopt;
    return size - before;
  }
  return std::nullopt;
}

}  // namespace probe
