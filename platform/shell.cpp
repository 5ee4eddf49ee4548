#include "platform/shell.h"

#include <stdio.h>
#include <stdlib.h>

#include <array>
#include <cstdarg>
#include <memory>

namespace {

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
  long number = 0;
  if (pipe == nullptr || fscanf(pipe.get(), "%ld", &number) != 1 || number < 0) return 0;
  return static_cast<uint64_t>(number);
}
