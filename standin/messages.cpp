/// messages.cpp: keeps the last error of a module and shows its messages.
#include "standin/messages.h"

#include <cstdio>
#include <mutex>

#include "standin/host.h"

namespace standin {
namespace {

std::mutex last_error_mutex;
std::string last_error;

std::string LevelName(int level) {
  if (level == OUTPUT_ERROR) return "error";
  if (level == OUTPUT_WARNING) return "warning";
  return level == OUTPUT_DEBUG ? "debug" : std::to_string(level);
}

}  // namespace

void TakeMessages(bool verbose) {
  host->on_output = [verbose](int level, std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    if (verbose) std::fprintf(stderr, "[%s] %s\n", LevelName(level).c_str(), text.c_str());
    const std::lock_guard lock(last_error_mutex);
    if (level == OUTPUT_ERROR) last_error = text;
  };
}

std::string LastError() {
  const std::lock_guard lock(last_error_mutex);
  return last_error;
}

}  // namespace standin
