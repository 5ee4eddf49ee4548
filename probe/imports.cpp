#include "probe/imports.h"

#include <link.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <mutex>
#include <unordered_map>

namespace probe {
// NOLINTBEGIN(performance-no-int-to-ptr): an object tells its places as numbers
namespace {

#if defined(__x86_64__)
constexpr unsigned int JUMP_SLOT = R_X86_64_JUMP_SLOT, GLOBAL_DATA = R_X86_64_GLOB_DAT, ABSOLUTE = R_X86_64_64;
#elif defined(__aarch64__)
constexpr unsigned int JUMP_SLOT = R_AARCH64_JUMP_SLOT, GLOBAL_DATA = R_AARCH64_GLOB_DAT, ABSOLUTE = R_AARCH64_ABS64;
#else
#error "the relocations of this processor are not known here"
#endif

struct Change {
  void* before;
  void* after;
};
std::mutex mutex;
std::unordered_map<void**, Change> changes;  // by the place of the address; guarded by the mutex

/// Writes an address where the object may have it read-only since it was loaded.
bool WritePlace(const dl_phdr_info& object, void** place, void* address) {
  const auto at = reinterpret_cast<uintptr_t>(place);
  const auto size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  bool isReadOnly = false;
  for (size_t i = 0; i < object.dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = object.dlpi_phdr[i];
    const uintptr_t begin = object.dlpi_addr + segment.p_vaddr;
    // The loader protects whole pages alone; what the last one holds of the segment stays writable.
    const uintptr_t end = (begin + segment.p_memsz) / size * size;
    if (segment.p_type == PT_GNU_RELRO && at >= begin / size * size && at < end) isReadOnly = true;
  }
  auto* page = reinterpret_cast<void*>(at / size * size);
  if (isReadOnly && mprotect(page, size, PROT_READ | PROT_WRITE) != 0) return false;
  __atomic_store_n(place, address, __ATOMIC_RELEASE);  // other threads go through it meanwhile
  if (isReadOnly) mprotect(page, size, PROT_READ);
  return true;
}

/// The tables of one object from which its imports are read.
struct Tables {
  const ElfW(Sym) * symbols = nullptr;
  const char* names = nullptr;
  struct {
    const ElfW(Rela) * begin = nullptr;
    size_t bytes = 0;
  } relocations[2];
};

Tables FindTables(const dl_phdr_info& object) {
  Tables tables;
  const ElfW(Dyn)* entry = nullptr;
  for (size_t i = 0; i < object.dlpi_phnum; ++i) {
    if (object.dlpi_phdr[i].p_type != PT_DYNAMIC) continue;
    entry = reinterpret_cast<const ElfW(Dyn)*>(object.dlpi_addr + object.dlpi_phdr[i].p_vaddr);
  }
  // The loader has turned offsets into addresses, but not in every object.
  const auto address = [&](const ElfW(Dyn) & dynamic) {
    const ElfW(Addr) value = dynamic.d_un.d_ptr;
    return reinterpret_cast<const void*>(value < object.dlpi_addr ? value + object.dlpi_addr : value);
  };
  for (; entry != nullptr && entry->d_tag != DT_NULL; ++entry) {
    switch (entry->d_tag) {
      case DT_SYMTAB:
        tables.symbols = static_cast<const ElfW(Sym)*>(address(*entry));
        break;
      case DT_STRTAB:
        tables.names = static_cast<const char*>(address(*entry));
        break;
      case DT_JMPREL:
        tables.relocations[0].begin = static_cast<const ElfW(Rela)*>(address(*entry));
        break;
      case DT_PLTRELSZ:
        tables.relocations[0].bytes = entry->d_un.d_val;
        break;
      case DT_RELA:
        tables.relocations[1].begin = static_cast<const ElfW(Rela)*>(address(*entry));
        break;
      case DT_RELASZ:
        tables.relocations[1].bytes = entry->d_un.d_val;
        break;
      default:
        break;
    }
  }
  return tables;
}

/// Calls `visit(name, place)` for each import of the object.
template <typename Visit>
void ForEachImport(const dl_phdr_info& object, Visit visit) {
  const Tables tables = FindTables(object);
  if (tables.symbols == nullptr || tables.names == nullptr) return;
  for (const auto& table : tables.relocations) {
    for (size_t i = 0; table.begin != nullptr && i < table.bytes / sizeof(ElfW(Rela)); ++i) {
      const ElfW(Rela)& relocation = table.begin[i];
      const unsigned int type = ELF64_R_TYPE(relocation.r_info);
      if ((type != JUMP_SLOT && type != GLOBAL_DATA && type != ABSOLUTE) || relocation.r_addend != 0) continue;
      const ElfW(Sym)& symbol = tables.symbols[ELF64_R_SYM(relocation.r_info)];
      if (ELF64_ST_TYPE(symbol.st_info) == STT_OBJECT) continue;
      visit(std::string_view(tables.names + symbol.st_name),
            reinterpret_cast<void**>(object.dlpi_addr + relocation.r_offset));
    }
  }
}

template <typename Visit>
void ForEachObject(Visit visit) {
  dl_iterate_phdr(
      [](dl_phdr_info* object, size_t, void* argument) {
        (*static_cast<Visit*>(argument))(*object);
        return 0;
      },
      &visit);
}

}  // namespace

size_t RedirectImports(const std::function<bool(std::string_view path, const void* base)>& isMeant,
                       const Redirection& redirection) {
  const std::lock_guard lock(mutex);
  size_t count = 0;
  ForEachObject([&](const dl_phdr_info& object) {
    const auto* base = reinterpret_cast<const void*>(object.dlpi_addr);
    if (!isMeant(object.dlpi_name, base)) return;
    ForEachImport(object, [&](std::string_view name, void** place) {
      void* before = __atomic_load_n(place, __ATOMIC_ACQUIRE);
      void* after = redirection(base, name, before);
      if (after == nullptr || after == before || !WritePlace(object, place, after)) return;
      changes[place] = {before, after};
      ++count;
    });
  });
  return count;
}

void RestoreImports() {
  const std::lock_guard lock(mutex);
  ForEachObject([&](const dl_phdr_info& object) {
    ForEachImport(object, [&](std::string_view, void** place) {
      const auto change = changes.find(place);
      if (change == changes.end() || *place != change->second.after) return;
      WritePlace(object, place, change->second.before);
    });
  });
  changes.clear();
}

void KeepImportsWholeInForks() {
  const auto unlock = [] { mutex.unlock(); };
  pthread_atfork([] { mutex.lock(); }, unlock, unlock);
}

bool HaveObjectsChanged() {
  const std::lock_guard lock(mutex);
  static unsigned long long last = 0;
  unsigned long long now = 0;
  ForEachObject([&](const dl_phdr_info& object) { now = object.dlpi_adds + object.dlpi_subs; });
  const bool changed = now != last;
  last = now;
  return changed;
}

// NOLINTEND(performance-no-int-to-ptr)
}  // namespace probe
