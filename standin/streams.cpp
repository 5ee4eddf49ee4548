/// streams.cpp: exchanges the C streams and filters what is written to them.
#include "standin/streams.h"

#include <unistd.h>

#include <string_view>

namespace standin {
namespace {

ssize_t WriteUnlessDebug(void*, const char* text, size_t size) {
  if (std::string_view(text, size).substr(0, 3) == "Dbg") return static_cast<ssize_t>(size);
  return write(STDERR_FILENO, text, size);
}

}  // namespace

StreamGuard::StreamGuard(bool verbose) {
  if (!verbose) filter_ = fopencookie(nullptr, "w", {nullptr, WriteUnlessDebug, nullptr, nullptr});
  if (filter_ != nullptr) {
    std::setvbuf(filter_, nullptr, _IOLBF, BUFSIZ);
    stderr = filter_;
  }
  stdout = stderr;
}

StreamGuard::~StreamGuard() {
  stdout = out_;
  stderr = err_;
  if (filter_ != nullptr) std::fclose(filter_);
}

}  // namespace standin
