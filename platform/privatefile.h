/// privatefile.h: the files that the module makes in folders which others may write to, such as /tmp.
///
/// The module runs as root, so each such file is made by the module itself before a command writes into it: a new,
/// empty, regular file of mode 0600. Whatever stood under the name before is unlinked, never followed or written
/// through.
#ifndef KESTRUNE_PLATFORM_PRIVATEFILE_H_
#define KESTRUNE_PLATFORM_PRIVATEFILE_H_

#include <sys/types.h>

#include <array>
#include <cstdio>
#include <memory>

/// Unlinks whatever stands under a name. Returns false when something still does (a folder, say).
bool ClearName(const char* path);

/// Whether a FIFO stands under a name: a command that reads it would wait for a writer, and the host with it.
bool IsFIFO(const char* path);

/// Whether a file can be read, and is no FIFO.
bool IsReadable(const char* path);

/// Whether a regular file stands under a name, or a link to one.
bool IsRegularFile(const char* path);

/// Size of a file in bytes, or -1.
off_t SizeOf(const char* path);

/// A file that outlives the request which made it, told by device and inode from whatever else may come to stand under
/// its name. Does not remove the file.
class PrivateFile {
 public:
  explicit constexpr PrivateFile(const char* path) : path_(path) {}

  const char* Path() const { return path_; }

  /// Clears the name and makes the file. Returns false, with nothing of ours under the name, when either fails.
  bool Make();

  /// Whether the name still stands for the file made last.
  bool IsOurs() const;

 private:
  const char* path_;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

/// A name for a file that lives as long as this object, or until it is handed on. Nothing is made by the constructor.
class TemporaryFile {
 public:
  /// Bytes of the longest name with its NUL.
  static constexpr size_t NAME_SIZE = 64;

  /// The name is `prefix`, a point, `number` and `suffix`, which together fit NAME_SIZE.
  TemporaryFile(const char* prefix, long number, const char* suffix = "");
  ~TemporaryFile() { Remove(); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const char* Path() const { return path_.data(); }

  /// As PrivateFile::Make. From the first success on, the name is unlinked at the end.
  bool Make();

  /// Whether the file was made and not removed since.
  bool IsMade() const { return made_; }

  /// Removes the file if it was made.
  void Remove();

  /// From now on somebody else removes the file.
  void HandOn() { made_ = false; }

 private:
  std::array<char, NAME_SIZE> path_{};
  bool made_ = false;
};

struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};
/// An open stream that closes itself.
using File = std::unique_ptr<FILE, CloseFile>;

/// Opens a file for reading, close-on-exec; null on failure.
inline File OpenForReading(const char* path) { return File(fopen(path, "re")); }

#endif  // KESTRUNE_PLATFORM_PRIVATEFILE_H_
