/// filestatus.h: what can be asked about any path, whoever made what stands there.
#ifndef KESTRUNE_PLATFORM_FILESTATUS_H_
#define KESTRUNE_PLATFORM_FILESTATUS_H_

#include <sys/types.h>

#include <cstdint>

/// Whether something stands at `path`, whatever its kind and permissions; 1 or 0.
int IsFileExist(const char* path);

/// Whether a command may be given the file to read: a regular file or a link to one, or /dev/null, which is an empty
/// log. Anything else (a device, a FIFO, a terminal) may never end, and the host would wait for it.
bool IsPlainFile(const char* path);

/// Whether a plain file stands under the name and this process may read it.
bool IsReadable(const char* path);

/// Size of a file in bytes, or -1.
off_t SizeOf(const char* path);

/// Whether a file has `lines` newlines at least.
bool HasLines(const char* path, uint64_t lines);

#endif  // KESTRUNE_PLATFORM_FILESTATUS_H_
