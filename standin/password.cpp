#include "standin/password.h"

#include <termios.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "standin/failure.h"
#include "standin/files.h"

namespace standin {
namespace {

std::string FirstLine(const std::string& text) { return text.substr(0, text.find_first_of("\r\n")); }

struct Close {
  void operator()(FILE* file) const { std::fclose(file); }
};

/// A terminal that does not show what is typed, as long as the object lives.
class SilentTerminal {
 public:
  explicit SilentTerminal(int descriptor) : descriptor_(descriptor) {
    tcgetattr(descriptor_, &before_);
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(descriptor_, TCSAFLUSH, &silent);
  }
  ~SilentTerminal() { tcsetattr(descriptor_, TCSAFLUSH, &before_); }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

 private:
  int descriptor_;
  termios before_{};
};

std::string AskAtTerminal() {
  const std::unique_ptr<FILE, Close> terminal(std::fopen("/dev/tty", "r+e"));
  if (terminal == nullptr) {
    throw Failure(WRONG_ARGUMENTS,
                  "no password and no terminal to ask at: name a file with --ipmi-password-file or set IPMI_PASSWORD");
  }
  std::fputs("Password of the controller's user: ", terminal.get());
  std::fflush(terminal.get());
  std::string line;
  {
    const SilentTerminal silent(fileno(terminal.get()));
    for (int byte; (byte = std::fgetc(terminal.get())) != EOF && byte != '\n';) line += static_cast<char>(byte);
  }
  std::fputc('\n', terminal.get());
  return line;
}

}  // namespace

std::string GetPassword(const std::optional<std::string>& file) {
  if (file) return FirstLine(ReadFile(*file));
  const char* variable = std::getenv("IPMI_PASSWORD");
  return variable != nullptr ? variable : AskAtTerminal();
}

}  // namespace standin
