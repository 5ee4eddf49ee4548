#include "probe/room.h"

#include <dlfcn.h>
#include <errno.h>
#include <link.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <unwind.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>

#include "probe/memory.h"

namespace probe {
namespace {

uintptr_t Address(const void* memory) { return reinterpret_cast<uintptr_t>(memory); }

/// Whether the page of this address can be read. The kernel looks at the set before it finds that it cannot do what it
/// is asked, and so changes nothing.
bool IsPageReadable(uintptr_t address) {
  constexpr int NOTHING = -1;
  constexpr size_t SET_SIZE = 8;
  return syscall(SYS_rt_sigprocmask, NOTHING, address / SET_SIZE * SET_SIZE, nullptr, SET_SIZE) == 0 || errno != EFAULT;
}

uintptr_t PageSize() { return static_cast<uintptr_t>(sysconf(_SC_PAGESIZE)); }

/// Bytes to the end of the exported object that holds the address.
std::optional<size_t> RoomInObject(const void* memory) {
  Dl_info info{};
  void* entry = nullptr;
  if (dladdr1(memory, &info, &entry, RTLD_DL_SYMENT) == 0 || entry == nullptr) return std::nullopt;
  const auto* symbol = static_cast<const ElfW(Sym)*>(entry);
  const uintptr_t end = Address(info.dli_saddr) + symbol->st_size;
  if (ELF64_ST_TYPE(symbol->st_info) != STT_OBJECT || Address(memory) >= end) return std::nullopt;
  return end - Address(memory);
}

/// Bytes to the end of the part of the stack in which the address lies: no array of a function goes on where the
/// address stands to which that function returns.
std::optional<size_t> RoomInFrame(const void* memory) {
#if defined(__x86_64__)
  constexpr size_t RETURN_ADDRESS_SIZE = sizeof(void*);  // on the stack, just below the caller's part
#else
  constexpr size_t RETURN_ADDRESS_SIZE = 0;
#endif
  struct Search {
    uintptr_t address;
    uintptr_t begin;  ///< of the part that was seen last
    std::optional<size_t> room;
  } search{Address(memory), UINTPTR_MAX, std::nullopt};
  _Unwind_Backtrace(
      [](_Unwind_Context* context, void* argument) {
        auto& [address, begin, room] = *static_cast<Search*>(argument);
        const uintptr_t end = _Unwind_GetCFA(context);
        if (address >= begin && address + RETURN_ADDRESS_SIZE < end) {
          room = end - RETURN_ADDRESS_SIZE - address;
          return _URC_END_OF_STACK;
        }
        begin = end;
        return _URC_NO_REASON;
      },
      &search);
  return search.room;
}

}  // namespace

std::optional<size_t> KnownRoom(const void* memory) {
  std::optional<size_t> room = RoomAt(memory);
  if (!room) room = RoomInFrame(memory);
  return room ? room : RoomInObject(memory);
}

bool HasRoom(const void* memory, size_t size) {
  if (const std::optional<size_t> room = KnownRoom(memory)) return size <= *room;
  for (uintptr_t page = Address(memory) / PageSize() * PageSize(); page < Address(memory) + size; page += PageSize()) {
    if (!IsPageReadable(page)) return false;
  }
  return true;
}

bool IsReadable(const void* memory) { return IsPageReadable(Address(memory)); }

bool IsTerminated(const wchar_t* text) {
  if (const std::optional<size_t> room = KnownRoom(text)) return wmemchr(text, 0, *room / sizeof(wchar_t)) != nullptr;
  constexpr size_t FAR_ENOUGH = 4096;  // no more than 255 bytes of it are used
  for (size_t i = 0; i < FAR_ENOUGH;) {
    const uintptr_t at = Address(text + i);
    if (!IsPageReadable(at)) return false;
    const size_t rest = std::max<size_t>((PageSize() - at % PageSize()) / sizeof(wchar_t), 1);
    if (wmemchr(text + i, 0, rest) != nullptr) return true;
    i += rest;
  }
  return false;
}

}  // namespace probe
