/// privatefile.h: the files that the module makes in folders which others may write to, such as /tmp.
///
/// The module runs as root, so each such file is made by the module itself before a command writes into it: a new,
/// empty, regular file of mode 0600. It takes the place of whatever stood under the name, which is never followed or
/// written through; a folder is renamed aside, within the same folder. Nothing is made in a folder that all may write
/// to and that is not sticky, since a name could be swapped there before the command opens it. An error message names
/// each file that cannot be made.
#ifndef KESTRUNE_PLATFORM_PRIVATEFILE_H_
#define KESTRUNE_PLATFORM_PRIVATEFILE_H_

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <memory>

/// A file that outlives the request which made it, told from whatever else may come to stand under its name: by owner,
/// device and inode, and once its content is settled also by size and time of change, as an inode number may be used
/// again. Does not remove the file by itself.
class PrivateFile {
 public:
  /// `path` must outlive the object; a change of what it points to names another file, which is to be made first.
  explicit constexpr PrivateFile(const char* path) : path_(path) {}

  const char* Path() const { return path_; }

  /// Makes the file. Returns false, after an error message and with nothing of ours under the name, when that fails.
  bool Make();

  /// To be called once the last command has written the file: from now on a file with another content is not ours.
  void Settle();

  /// Whether the file was made, and not removed since by this object.
  bool IsMade() const { return made_.st_ino != 0; }

  /// Whether the name still stands for the file made last.
  bool IsOurs() const;

  /// Whether the name stands for anything else.
  bool IsForeign() const;

  /// Unlinks the file if it is still ours, and forgets it. Returns what unlink answered, or -1.
  int Remove();

  /// To be called once a command was told to rename the file `other` to this one's name. Returns whether it did; then
  /// this object stands for that file, and `other` for none.
  bool Become(PrivateFile& other);

  /// Forgets the file without removing it: somebody else does.
  void Release() { made_ = {}; }

 private:
  bool IsSame(const struct stat& status) const;

  const char* path_;
  struct stat made_ {};  ///< of the file made; all zero when there is none
  bool isSettled_ = false;
};

/// The name of a temporary file: `prefix`, a point, `number` and `suffix`, which together fit. A base of TemporaryFile,
/// so that it exists before the PrivateFile that refers to it.
struct TemporaryName {
  TemporaryName(const char* prefix, long number, const char* suffix);

  std::array<char, 64> name{};
};

/// A private file that lives as long as this object, or until it is released. Nothing is made by the constructor.
class TemporaryFile : TemporaryName, public PrivateFile {
 public:
  TemporaryFile(const char* prefix, long number, const char* suffix = "")
      : TemporaryName(prefix, number, suffix), PrivateFile(name.data()) {}
  ~TemporaryFile() { Remove(); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
};

/// Unlinks what a process that was killed left under the names of temporary files with `prefix`: regular files of mode
/// 0600 that belong to this process's user. No other process of the user may be at work.
void RemoveTemporaryFiles(const char* prefix);

struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};
/// An open stream that closes itself.
using File = std::unique_ptr<FILE, CloseFile>;

/// Opens a file for reading, close-on-exec; null on failure.
inline File OpenForReading(const char* path) { return File(fopen(path, "re")); }

#endif  // KESTRUNE_PLATFORM_PRIVATEFILE_H_
