/// files.h: whole files, read in one go.
#ifndef KESTRUNE_STANDIN_FILES_H_
#define KESTRUNE_STANDIN_FILES_H_

#include <string>

namespace standin {

/// The name that stands for standard input, which can be read once.
inline constexpr const char* STANDARD_INPUT = "-";

/// The contents of a file or pipe of at most 16 MiB. Throws Failure (wrong arguments).
std::string ReadFile(const std::string& path);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FILES_H_
