#include "platform/shell.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <memory>
#include <span>

namespace {

/// Bytes that a printed number may have, with its newline and a NUL.
constexpr size_t NUMBER_SIZE = 64;

/// A formatted command line, empty when it does not fit.
class CommandLine {
 public:
  CommandLine(const char* format, va_list arguments) __attribute__((format(printf, 2, 0))) {
    const int length = vsnprintf(text_.data(), text_.size(), format, arguments);
    fits_ = length >= 0 && static_cast<size_t>(length) < text_.size();
  }

  bool Fits() const { return fits_; }
  const char* Text() const { return text_.data(); }

 private:
  std::array<char, SHELL_LINE_SIZE> text_{};
  bool fits_ = false;
};

struct ClosePipe {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

/// Reads a pipe to its first newline, as much as fits `text` with a NUL, whatever signals the host handles meanwhile.
/// Not to the pipe's end: a child that the host has forked may hold that open for as long as it lives.
void ReadLine(FILE* pipe, std::span<char> text) {
  size_t length = 0;
  while (length + 1 < text.size() && (length == 0 || text[length - 1] != '\n')) {
    const ssize_t taken = read(fileno(pipe), text.data() + length, text.size() - 1 - length);
    if (taken < 0 && errno == EINTR) continue;
    if (taken <= 0) break;
    length += static_cast<size_t>(taken);
  }
  text[length] = '\0';
}

}  // namespace

bool CommandFits(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const CommandLine line(format, arguments);
  va_end(arguments);
  return line.Fits();
}

void RunCommand(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const CommandLine line(format, arguments);
  va_end(arguments);
  if (!line.Fits()) return;
  [[maybe_unused]] const int status = system(line.Text());  // NOLINT(cert-env33-c): the module is made of such commands
}

uint64_t ReadNumber(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const CommandLine line(format, arguments);
  va_end(arguments);
  if (!line.Fits()) return 0;
  const std::unique_ptr<FILE, ClosePipe> pipe(popen(line.Text(), "re"));  // NOLINT(cert-env33-c): as above
  if (pipe == nullptr) return 0;
  std::array<char, NUMBER_SIZE> text{};
  ReadLine(pipe.get(), text);
  long number = 0;
  if (sscanf(text.data(), "%ld", &number) != 1 || number < 0) return 0;
  return static_cast<uint64_t>(number);
}
