/// files.cpp: whole files, read in one go.
#include "standin/files.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "standin/failure.h"

namespace standin {

std::string ReadFile(const std::string& path) {
  constexpr std::streamsize LIMIT = 16 << 20;
  std::ifstream named;
  if (path != STANDARD_INPUT) named.open(path, std::ios::binary);
  std::istream& file = path == STANDARD_INPUT ? std::cin : named;
  std::string contents(LIMIT + 1, '\0');
  file.read(contents.data(), LIMIT + 1);
  if ((path != STANDARD_INPUT && !named.is_open()) || file.bad()) {
    throw Failure(WRONG_ARGUMENTS, "cannot read '" + path + "': " + std::strerror(errno));
  }
  if (file.gcount() > LIMIT) throw Failure(WRONG_ARGUMENTS, "'" + path + "' is longer than the allowed 16 MiB");
  contents.resize(static_cast<size_t>(file.gcount()));
  return contents;
}

}  // namespace standin
