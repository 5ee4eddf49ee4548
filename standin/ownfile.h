/// ownfile.h: finds what was installed, or built, with this program, wherever that is.
#ifndef KESTRUNE_STANDIN_OWNFILE_H_
#define KESTRUNE_STANDIN_OWNFILE_H_

#include <string>

namespace standin {

/// The path of a file beside the program's folder: at `installed`, or at `built` where the program was not installed.
std::string OwnFile(const char* installed, const char* built);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_OWNFILE_H_
