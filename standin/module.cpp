/// module.cpp: loads a module, starts it, and keeps its own writing off the user's screen.
#include "standin/module.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

#include "standin/failure.h"
#include "standin/machine.h"

namespace standin {
namespace {

/// What the host hands over at start-up: no repeated events, an update interval of 5000.
constexpr uint64_t kSettings = uint64_t{5000} << 32;

ssize_t WriteUnlessDebug(void*, const char* text, size_t size) {
  if (std::string_view(text, size).substr(0, 3) == "Dbg") return static_cast<ssize_t>(size);
  return write(STDERR_FILENO, text, size);
}

/// A module writes a few lines to the process's streams by itself. While this lives, its standard output goes to
/// standard error, so that a table or a JSON text stays whole, and its debug lines are dropped unless they are wanted.
/// Only the C streams are exchanged; the descriptors stay as they are.
class StreamGuard {
 public:
  StreamGuard() : out_(stdout), err_(stderr) {
    if (!machine.verbose) {
      filter_ = fopencookie(nullptr, "w", {nullptr, WriteUnlessDebug, nullptr, nullptr});
      if (filter_ != nullptr) {
        std::setvbuf(filter_, nullptr, _IOLBF, BUFSIZ);
        stderr = filter_;
      }
    }
    stdout = stderr;
  }

  ~StreamGuard() {
    stdout = out_;
    stderr = err_;
    if (filter_ != nullptr) std::fclose(filter_);
  }

  StreamGuard(const StreamGuard&) = delete;
  StreamGuard& operator=(const StreamGuard&) = delete;

 private:
  FILE* out_;
  FILE* err_;
  FILE* filter_ = nullptr;
};

/// Refuses a file that ends before its last segment, one half downloaded, say: the loader maps such a file and then
/// dies of it. What is no such file at all is left to the loader.
void ExpectWhole(const std::string& path) {
  std::error_code error;
  if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error)) {
    throw Failure(kRequestFailed, "'" + path + "' is no module: it is no regular file");
  }
  std::ifstream file(path, std::ios::binary);
  ElfW(Ehdr) header{};
  if (!file.read(reinterpret_cast<char*>(&header), sizeof(header))) return;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(ElfW(Phdr))) return;
  std::vector<ElfW(Phdr)> segments(header.e_phnum);
  const auto size = static_cast<std::streamsize>(segments.size() * sizeof(segments[0]));
  file.seekg(static_cast<std::streamoff>(header.e_phoff));
  bool is_whole = static_cast<bool>(file.read(reinterpret_cast<char*>(segments.data()), size));
  file.seekg(0, std::ios::end);
  const auto end = static_cast<uint64_t>(file.tellg());
  for (const ElfW(Phdr) & segment : segments) is_whole &= segment.p_offset + segment.p_filesz <= end;
  if (!is_whole) throw Failure(kRequestFailed, "'" + path + "' is no module: it ends too early");
}

template <typename Pointer>
Pointer Resolve(void* handle, const char* name, const std::string& path) {
  void* symbol = dlsym(handle, name);
  if (symbol == nullptr) throw Failure(kRequestFailed, "'" + path + "' is no module: it has no " + name);
  return reinterpret_cast<Pointer>(symbol);
}

}  // namespace

void Module::Unload::operator()(void* handle) const { dlclose(handle); }

Module::Module(const std::string& path) {
  const StreamGuard guard;
  // A bare name is a file here, too, and not to be searched for in the library path.
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  ExpectWhole(file);
  handle_.reset(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (handle_ == nullptr) throw Failure(kRequestFailed, std::string("cannot load the module: ") + dlerror());

  initialize_ = Resolve<decltype(initialize_)>(handle_.get(), "SPInitialize", path);
  uninitialize_ = Resolve<decltype(uninitialize_)>(handle_.get(), "SPUninitialize", path);
  config_ = Resolve<decltype(config_)>(handle_.get(), "SPConfig", path);
  dump_ = Resolve<decltype(dump_)>(handle_.get(), "ShowBMCSELLogDebug", path);
  repeat_event_ = Resolve<const uint32_t*>(handle_.get(), "g_bRepeatEvent", path);
  update_interval_ = Resolve<const uint32_t*>(handle_.get(), "g_uiUpdateInterval", path);

  uint32_t out = 0;
  if (initialize_(&kSettings, &out) == 0) throw Failure(kRequestFailed, "the module refused to start: " + LastError());
}

Module::~Module() {
  const StreamGuard guard;
  uninitialize_();
  handle_.reset();
}

bool Module::Request(uint32_t operation, const char* name, void* arg1, void* arg2, void* arg3) const {
  const StreamGuard guard;
  return config_(operation, name, arg1, arg2, arg3) != 0;
}

void Module::DumpSel() const {
  dump_();
  if (std::fflush(stdout) != 0 && errno != EPIPE) {
    throw Failure(kRequestFailed, std::string("cannot write to standard output: ") + std::strerror(errno));
  }
}

}  // namespace standin
