#include "standin/password.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "standin/failure.h"
#include "standin/files.h"
#include "standin/signals.h"

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

/// Throws Interrupted when a signal came: it must not end the process while the terminal is silent.
bool ReadByte(int descriptor, char& byte) {
  constexpr int PAUSE = 100;  // milliseconds
  pollfd typed{descriptor, POLLIN, 0};
  while (poll(&typed, 1, PAUSE) == 0) ThrowIfInterrupted();
  ThrowIfInterrupted();
  return read(descriptor, &byte, 1) == 1;
}

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
    const Undisturbed undisturbed;
    const SilentTerminal silent(fileno(terminal.get()));
    for (char byte; ReadByte(fileno(terminal.get()), byte) && byte != '\n';) line += byte;
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
