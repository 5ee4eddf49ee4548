#include "standin/session.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "probe/trace.h"
#include "standin/controllers.h"
#include "standin/failure.h"
#include "standin/host.h"
#include "standin/requests.h"
#include "standin/selfile.h"

namespace standin {
namespace {

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

}  // namespace

Session::Session(const Options& options) : verbose_(options.verbose) {
  RequireCommands();
  if (options.trace && !probe::OpenTrace(options.trace->c_str())) {
    throw Failure(REQUEST_FAILED, "cannot write '" + *options.trace + "': " + std::strerror(errno));
  }
  // All of the machine has to be there before the module starts.
  controller_ = MakeController(options);
  host->controller = controller_.get();
  host->dist = options.distribution;
  TakeMessages(verbose_);
  if (options.selLog) LaySelLog(*options.selLog);
  guard_.emplace(verbose_);
  module_.emplace(options.module);
  Start(*module_);
}

Session::~Session() {
  Stop();
  host->controller = &noController;
}

void Session::LetModulePrint(const std::function<void()>& print) {
  guard_.reset();
  print();
  if (std::fflush(stdout) != 0 && errno != EPIPE) {
    throw Failure(REQUEST_FAILED, std::string("cannot write to standard output: ") + std::strerror(errno));
  }
  guard_.emplace(verbose_);
}

void Session::Stop() {
  module_.reset();
  guard_.reset();
}

void Session::RequireAnswers() {
  if (const std::string problem = controller_->TakeProblem(); !problem.empty()) throw Failure(REQUEST_FAILED, problem);
}

}  // namespace standin
