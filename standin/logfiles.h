/// logfiles.h: the files behind a text log, looked at from outside, so that a log that did not change costs no request.
/// What they hold is told by the module alone.
#ifndef KESTRUNE_STANDIN_LOGFILES_H_
#define KESTRUNE_STANDIN_LOGFILES_H_

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace standin {

/// A file as it was at one moment. One that is missing has no bytes and no number.
struct FileState {
  ino_t number = 0;
  off_t size = 0;
  int64_t written = 0;  ///< when it was last written: nanoseconds since 1970
  std::string head;     ///< its first bytes

  bool operator==(const FileState&) const = default;
};

FileState LookAt(const std::string& path);

/// Whether `later` is the file `earlier` with nothing taken away: not another one, nor one that was cut.
bool IsContinued(const FileState& earlier, const FileState& later);

/// The files of the log: those of `appLogList`, which is separated by blanks, for the application log.
std::vector<std::string> FilesOf(uint16_t log, const std::string& appLogList);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_LOGFILES_H_
