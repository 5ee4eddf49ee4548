/// newfile.h: files that come about whole or not at all, readable for their owner alone.
#ifndef KESTRUNE_STANDIN_NEWFILE_H_
#define KESTRUNE_STANDIN_NEWFILE_H_

#include <string>
#include <string_view>

namespace standin {

class NewFile {
 public:
  /// Makes sure that the file can come about, and starts it under another name beside its place. Throws Failure, also
  /// when there is a file at `path`, unless `overwrite`.
  NewFile(std::string path, bool overwrite);

  /// Removes what was started and not put in place.
  ~NewFile();

  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  /// Writes all of its contents, onto the disk. Throws Failure.
  void Write(std::string_view contents);

  /// Puts the file in its place. Throws Failure, also when somebody else was faster, unless `overwrite`.
  void Commit();

 private:
  [[noreturn]] void Fail(int error) const;

  std::string path_;
  bool overwrite_;
  std::string draft_;  ///< the name that it has until then; empty afterwards
  int descriptor_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_NEWFILE_H_
