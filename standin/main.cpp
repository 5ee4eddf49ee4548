/// main.cpp: kestrune-host, which loads a module as the host agent does and shows what it delivers.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "standin/capture.h"
#include "standin/cmdline.h"
#include "standin/failure.h"
#include "standin/host.h"
#include "standin/ipmiconnection.h"
#include "standin/ipmicontroller.h"
#include "standin/messages.h"
#include "standin/module.h"
#include "standin/password.h"
#include "standin/recordlog.h"
#include "standin/requests.h"
#include "standin/selfile.h"
#include "standin/table.h"
#include "standin/terminal.h"
#include "standin/timeline.h"

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

/// The module is made of shell commands, and without one of them every log looks empty. Throws Failure.
void RequireCommands() {
  const char* variable = std::getenv("PATH");
  std::string missing;
  for (const std::string command : {"sh", "cp", "mv", "rm", "cat", "tail", "grep", "sed", "awk", "wc", "sort"}) {
    std::istringstream folders(variable == nullptr ? "/bin:/usr/bin" : variable);
    bool found = false;
    for (std::string folder; !found && std::getline(folders, folder, ':');) {
      found = access(folder.append("/").append(command).c_str(), X_OK) == 0;
    }
    if (!found) missing.append(" ").append(command);
  }
  if (!missing.empty()) throw Failure(REQUEST_FAILED, "commands that the module runs are not in PATH:" + missing);
}

/// Shows on a terminal how far a long reading has come.
Progress ShowProgress() {
  if (isatty(STDERR_FILENO) == 0) return {};
  return [](size_t read, size_t of) {
    if (read % 16 != 0 && read != of) return;
    std::fprintf(stderr, "\r%zu of %zu records read%s", read, of, read == of ? "\n" : "");
  };
}

std::unique_ptr<Controller> ConnectToController(const Options& options) {
  IPMIOptions ipmi = options.ipmi;
  if (ipmi.host) ipmi.password = GetPassword(options.passwordFile);
  auto controller = std::make_unique<IPMIController>(std::make_unique<IPMIConnection>(ipmi), ShowProgress());
  for (const std::string& note : controller->Notes()) std::fprintf(stderr, "note: %s\n", note.c_str());
  return controller;
}

/// The controller that the options describe.
std::unique_ptr<Controller> MakeController(const Options& options) {
  if (options.ipmi.host) return ConnectToController(options);
  if (!options.sel && !options.noController && FindIPMIDevice()) {
    // A plain user may have no right to the machine's own controller, and does not need it for the text logs.
    const bool isAskedFor = options.command == "save" || options.command == "dump-sel" || options.log == LOG_SEL;
    try {
      return ConnectToController(options);
    } catch (const Failure& failure) {
      if (isAskedFor) throw;
      std::fprintf(stderr, "note: %s\n", failure.what());
    }
  }
  Sensors sensors = options.sensors ? ReadSensors(*options.sensors) : Sensors();
  if (!options.sel) return std::make_unique<NoController>();
  return std::make_unique<RecordLog>(ReadRawRecords(*options.sel, MAX_SEL_RECORDS), std::move(sensors));
}

/// Runs a sub-command that has the module do something. Returns what is to be shown of it.
Table AskModule(const Module& module, const Options& options, const RecordKeeper& keeper) {
  if (options.command == "logs") return ListLogs(module);
  if (options.command == "show") {
    if (options.log != LOG_ALL && !OffersLog(module, options.log)) {
      std::fputs("note: the module does not offer that log here\n", stderr);
    }
    Table table = ReadView(module, options.log, options.view, keeper);
    if (options.columns) ChooseColumns(table, *options.columns);
    return table;
  }
  if (options.command == "settings") {
    if (options.word) WriteSettings(module, *options.word);
    return ReadSettings(module);
  }
  if (options.command == "write") WriteMessage(module, options.level, options.text);
  return {};
}

/// Runs the sub-command with a module of its own. Returns what is to be shown of it.
Table LoadAndAsk(const Options& options, const RecordKeeper& keeper) {
  std::optional<StreamGuard> guard(options.verbose);
  const Module module(options.module);
  Start(module);
  if (options.command == "dump-sel") {
    guard.reset();
    const TerminalGuard terminal;
    module.ShowBMCSELLogDebug();
    if (std::fflush(stdout) != 0 && errno != EPIPE) {
      throw Failure(REQUEST_FAILED, std::string("cannot write to standard output: ") + std::strerror(errno));
    }
    guard.emplace(options.verbose);
  }
  return AskModule(module, options, keeper);
}

void Run(const Options& options) {
  if (!options.answer.empty()) {
    Print(options.answer);
  } else if (options.command == "pack-sel") {
    PackSelLog(options.raw, options.packed);
  } else if (options.command == "save") {
    const std::unique_ptr<Controller> controller = MakeController(options);
    if (!controller->IsPresent()) throw Failure(REQUEST_FAILED, "there is no controller here whose log could be saved");
    SaveCapture(*controller, options.savedSel, options.savedSensors, options.force, ShowProgress());
  } else {
    RequireCommands();
    // All of the machine has to be there before the module starts.
    const std::unique_ptr<Controller> controller = MakeController(options);
    RecordKeeper keeper(*controller);
    host->controller = &keeper;
    host->dist = options.distribution;
    TakeMessages(options.verbose);
    if (options.selLog) LaySelLog(*options.selLog);
    // The module is stopped before anything is shown: a reader may take its time.
    const Table table = LoadAndAsk(options, keeper);
    if (!table.columns.empty()) Show(table, options.format);
    // The module takes a controller that does not answer for an empty log.
    if (const std::string problem = controller->TakeProblem(); !problem.empty()) throw Failure(REQUEST_FAILED, problem);
  }
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
  try {
    standin::Run(standin::ParseCommandLine(argc, argv));
    return 0;
  } catch (const standin::Failure& failure) {
    return standin::GiveUp(failure.Status(), failure.what());
  } catch (const std::exception& error) {
    return standin::GiveUp(standin::REQUEST_FAILED, error.what());
  }
}
