/// agent.cpp: the functions of the host agent that modules find in the process.
#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "kestrune/kestrune.h"
#include "platform/host.h"
#include "standin/machine.h"

namespace standin {
namespace {

std::mutex last_error_mutex;
std::string last_error;

std::string LevelName(int level) {
  if (level == OUTPUT_ERROR) return "error";
  if (level == OUTPUT_WARNING) return "warning";
  return level == OUTPUT_DEBUG ? "debug" : std::to_string(level);
}

void TakeMessage(int level, std::string text) {
  while (!text.empty() && text.back() == '\n') text.pop_back();
  if (machine.verbose) std::fprintf(stderr, "[%s] %s\n", LevelName(level).c_str(), text.c_str());
  const std::lock_guard lock(last_error_mutex);
  if (level == OUTPUT_ERROR) last_error = text;
}

}  // namespace

Machine machine;

std::string LastError() {
  const std::lock_guard lock(last_error_mutex);
  return last_error;
}

}  // namespace standin

extern "C" KESTRUNE_EXPORT void Output(int level, const char* format, ...) {
  std::array<char, 1024> text{};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  standin::TakeMessage(level, text.data());
}

extern "C" KESTRUNE_EXPORT int GeneralOSSupportChecking(void) { return 1; }

extern "C" KESTRUNE_EXPORT int GetOSDist(void) { return standin::machine.distribution; }
