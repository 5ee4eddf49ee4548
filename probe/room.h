/// room.h: how much memory there is behind an address of the host's, as far as that can be known without touching what
/// may not be there.
#ifndef KESTRUNE_PROBE_ROOM_H_
#define KESTRUNE_PROBE_ROOM_H_

#include <cstddef>
#include <optional>

namespace probe {

/// Bytes from `memory` to the end of what holds it: a block allocated lately, an exported object, or a function's part
/// of the calling thread's stack. An array cannot be longer.
std::optional<size_t> KnownRoom(const void* memory);

/// Whether there is room for `size` bytes, more than none, as far as that can be known.
bool HasRoom(const void* memory, size_t size);

/// Whether the first byte can be read.
bool IsReadable(const void* memory);

/// Whether a NUL ends the text, looked for in what holds it, or page by page up to memory that is not there.
bool IsTerminated(const wchar_t* text);

}  // namespace probe

#endif  // KESTRUNE_PROBE_ROOM_H_
