/// module.cpp: loads a module, and refuses what is none.
#include "standin/host/module.h"

#include <dlfcn.h>
#include <link.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "probe/trace.h"
#include "standin/failure.h"

namespace standin {
namespace {

/// Refuses a file that ends before its last segment, one half downloaded, say: the loader maps such a file and then
/// dies of it. What is no such file at all is left to the loader.
void ExpectWhole(const std::string& path) {
  std::error_code error;
  if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error)) {
    throw Failure(REQUEST_FAILED, "'" + path + "' is no module: it is no regular file");
  }
  std::ifstream file(path, std::ios::binary);
  ElfW(Ehdr) header{};
  if (!file.read(reinterpret_cast<char*>(&header), sizeof(header))) return;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(ElfW(Phdr))) return;
  std::vector<ElfW(Phdr)> segments(header.e_phnum);
  const auto size = static_cast<std::streamsize>(segments.size() * sizeof(segments[0]));
  file.seekg(static_cast<std::streamoff>(header.e_phoff));
  bool isWhole = static_cast<bool>(file.read(reinterpret_cast<char*>(segments.data()), size));
  file.seekg(0, std::ios::end);
  const auto end = static_cast<uint64_t>(file.tellg());
  for (const ElfW(Phdr) & segment : segments) isWhole &= segment.p_offset + segment.p_filesz <= end;
  if (!isWhole) throw Failure(REQUEST_FAILED, "'" + path + "' is no module: it ends too early");
}

void* Load(const std::string& path) {
  ExpectWhole(path);
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) throw Failure(REQUEST_FAILED, std::string("cannot load the module: ") + dlerror());
  return handle;
}

}  // namespace

void Module::Close::operator()(void* handle) const { dlclose(handle); }

// A bare name is a file here, too, and not to be searched for in the library path.
Module::Module(const std::string& path)
    : path_(path.find('/') == std::string::npos ? "./" + path : path), handle_(Load(path_)) {}

bool Module::Unload() {
  if (handle_ == nullptr) return true;
  probe::TracedCall traced("SPUninitialize");
  traced.End(SPUninitialize());
  handle_.reset();
  return dlopen(path_.c_str(), RTLD_NOW | RTLD_NOLOAD) == nullptr;
}

void* Module::FindSymbol(const char* name) const {
  void* symbol = dlsym(handle_.get(), name);
  if (symbol == nullptr) throw Failure(REQUEST_FAILED, "'" + path_ + "' is no module: it has no " + name);
  return symbol;
}

}  // namespace standin
