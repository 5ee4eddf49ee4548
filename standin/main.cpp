/// main.cpp: kestrune-host, which loads a module as the host agent does and shows what it delivers.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "standin/cmdline.h"
#include "standin/commands.h"
#include "standin/failure.h"
#include "standin/signals.h"

namespace standin {
namespace {

/// Closed standard descriptors would be given to the next files opened; and a reader that leaves early must not end the
/// process before the module is stopped. A handler, unlike an ignored signal, is not passed on to the commands that the
/// module runs.
void PrepareProcess() {
  int descriptor;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) close(descriptor);
  signal(SIGPIPE, [](int) {});
  // A log may hold any text. Where the environment names no character encoding, UTF-8 is the best guess.
  const auto isSet = [](const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
  };
  std::setlocale(LC_CTYPE, isSet("LC_ALL") || isSet("LC_CTYPE") || isSet("LANG") ? "" : "C.UTF-8");
}

int GiveUp(int status, std::string line) {
  for (char& character : line) {
    if (static_cast<unsigned char>(character) < ' ' || character == '\x7F') character = '?';
  }
  std::fprintf(stderr, "kestrune-host: %s\n", line.c_str());
  return status;
}

}  // namespace
}  // namespace standin

int main(int argc, char** argv) {
  standin::PrepareProcess();
  standin::WatchSignals();
  try {
    standin::RunCommand(standin::ParseCommandLine(argc, argv));
    return 0;
  } catch (const standin::Interrupted& interrupted) {
    standin::EndBySignal(interrupted.signal);
  } catch (const standin::Failure& failure) {
    return standin::GiveUp(failure.Status(), failure.what());
  } catch (const std::exception& error) {
    return standin::GiveUp(standin::REQUEST_FAILED, error.what());
  }
}
