#include "standin/ownfile.h"

#include <sys/auxv.h>

#include <filesystem>
#include <system_error>

namespace standin {

std::string OwnFile(const char* installed, const char* built) {
  // Known without /proc, too.
  const auto* program = reinterpret_cast<const char*>(getauxval(AT_EXECFN));  // NOLINT(performance-no-int-to-ptr)
  std::error_code error;
  const auto pathOfProgram = std::filesystem::canonical(program != nullptr ? program : "", error);
  const std::filesystem::path above = pathOfProgram.parent_path().parent_path();
  // A file that is missing is named as that of the installed program, which most are.
  const bool isBuilt =
      !std::filesystem::exists(above / installed, error) && std::filesystem::exists(above / built, error);
  return above / (isBuilt ? built : installed);
}

}  // namespace standin
