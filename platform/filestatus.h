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

/// Whether the last byte of a file is a newline.
bool EndsWithNewline(const char* path);

/// How large a log is before a command copies it, and so how large a whole copy must be.
class CopiedLog {
 public:
  /// Looks at the log, before the command runs. `path` must outlive the object.
  explicit CopiedLog(const char* path);

  /// Looks again and returns the bytes that a whole copy has at least: those of before, or fewer where another file has
  /// taken the log's name meanwhile, as a rotation does.
  off_t LeastSize() const;

 private:
  const char* path_;
  off_t size_;
  ino_t inode_;
};

#endif  // KESTRUNE_PLATFORM_FILESTATUS_H_
