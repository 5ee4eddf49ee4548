/// memory.h: sees the host allocate and free. The imports of new, delete, malloc and free of the host's objects lead
/// through here; the memory is the C library's, as without the probe, so that whatever is not seen does no harm.
#ifndef KESTRUNE_PROBE_MEMORY_H_
#define KESTRUNE_PROBE_MEMORY_H_

#include <cstddef>
#include <optional>

namespace probe {

/// While one lives, its thread works for the probe, and what it allocates and frees is not the host's.
class OwnWork {
 public:
  OwnWork();
  ~OwnWork();
  OwnWork(const OwnWork&) = delete;
  OwnWork& operator=(const OwnWork&) = delete;
};

/// Begins to watch, or goes on with objects that have come since.
void WatchMemory();

/// Stops watching; the imports must have been restored.
void LeaveMemory();

/// Whether frees can be seen: not in a program that brings its allocator with it and imports none, or whose own
/// `operator delete[]` frees by no import.
bool AreFreesSeen();

/// Whether `operator delete[]` is the host's own, whose work is seen as what it does itself.
bool IsDeleteReplaced();

/// Bytes from `memory` to the end of its block, where it is the begin of a block allocated lately, or of an array with
/// its length in front.
std::optional<size_t> RoomAt(const void* memory);

}  // namespace probe

#endif  // KESTRUNE_PROBE_MEMORY_H_
