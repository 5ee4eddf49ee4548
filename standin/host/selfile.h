/// selfile.h: files of System Event Log records.
///
/// A raw file is the records alone, 16 bytes each, oldest first, as IPMI clients dump them. A SEL log file is what a
/// host keeps of older records; its format stands in platform/selrecord.h.
#ifndef KESTRUNE_STANDIN_HOST_SELFILE_H_
#define KESTRUNE_STANDIN_HOST_SELFILE_H_

#include <filesystem>
#include <string>
#include <vector>

#include "platform/nubo.h"

namespace standin {

/// Where modules look for the SEL log file.
inline constexpr char SEL_LOG_PATH[] = "/etc/zarp/conf/ipmi.log";

/// Reads a raw file. Throws Failure (wrong arguments) for a size that does not fit, or more than `limit` records.
std::vector<SELRecord> ReadRawRecords(const std::string& path, size_t limit = SIZE_MAX);

/// The contents of the SEL log file of these records, oldest first.
std::string MakeSelLog(const std::vector<SELRecord>& records);

/// Writes the records of the raw file `rawPath` as the SEL log file `path`. Throws Failure, also
/// when there is a file at `path`, unless `overwrite`: it may be the machine's own archive.
void PackSelLog(const std::string& rawPath, const std::string& path, bool overwrite);

/// A copy of a file, whatever that holds, where modules look for the SEL log file. It is removed at the end, with the
/// folders that were made for it.
class LaidSelLog {
 public:
  /// Throws Failure, also where there is such a file already, which may be the machine's own.
  explicit LaidSelLog(const std::string& path);
  ~LaidSelLog() { Remove(); }
  LaidSelLog(const LaidSelLog&) = delete;
  LaidSelLog& operator=(const LaidSelLog&) = delete;

 private:
  void MakeFolders();
  void Remove();

  std::vector<std::filesystem::path> folders_;  ///< those made, the outer ones first
  bool isLaid_ = false;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_SELFILE_H_
