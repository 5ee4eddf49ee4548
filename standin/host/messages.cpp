/// messages.cpp: keeps the last error of a module, shows its messages, exchanges the C streams.
#include "standin/host/messages.h"

#include <unistd.h>

#include <mutex>
#include <set>
#include <string_view>

#include "standin/host/host.h"

namespace standin {
namespace {

std::mutex mutex;  // guards what follows
std::string lastError;
std::set<std::string> shown;  // errors and warnings, each of which is told once

std::string LevelName(int level) {
  if (level == OUTPUT_ERROR) return "error";
  if (level == OUTPUT_WARNING) return "warning";
  return level == OUTPUT_DEBUG ? "debug" : std::to_string(level);
}

ssize_t WriteUnlessDebug(void*, const char* text, size_t size) {
  if (std::string_view(text, size).substr(0, 3) == "Dbg") return static_cast<ssize_t>(size);
  return write(STDERR_FILENO, text, size);
}

}  // namespace

void TakeMessages(bool verbose) {
  host->onOutput = [verbose](int level, std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    const std::lock_guard lock(mutex);
    if (level == OUTPUT_ERROR) lastError = text;
    const bool isGrave = level == OUTPUT_ERROR || level == OUTPUT_WARNING;
    if (!verbose && !(isGrave && shown.insert(text).second)) return;
    std::fprintf(stderr, "[%s] %s\n", LevelName(level).c_str(), text.c_str());
  };
}

std::string LastError() {
  const std::lock_guard lock(mutex);
  return lastError;
}

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
