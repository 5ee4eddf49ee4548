#include "standin/session.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <utility>

#include "probe/trace.h"
#include "standin/controllers.h"
#include "standin/failure.h"
#include "standin/host/host.h"
#include "standin/output/terminal.h"
#include "standin/requests.h"

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

/// Answers no more once a signal was noted: a long log is not read to its end then.
class InterruptibleController final : public Controller {
 public:
  explicit InterruptibleController(std::unique_ptr<Controller> controller) : controller_(std::move(controller)) {}

  bool IsPresent() override { return controller_->IsPresent(); }
  std::optional<uint32_t> CountEntries() override {
    return NotedSignal() != 0 ? std::nullopt : controller_->CountEntries();
  }
  std::optional<LogState> GetLogState() override {
    return NotedSignal() != 0 ? std::nullopt : controller_->GetLogState();
  }
  bool ReadEntry(tagSEL_DATA& entry) override {
    if (NotedSignal() == 0) return controller_->ReadEntry(entry);
    entry.wNextRecordID = SEL_LAST_ENTRY;  // where the module's dump stops, which goes on after a failure
    return false;
  }
  std::string TakeProblem() override { return controller_->TakeProblem(); }
  const Sensors& GetSensors() const override { return controller_->GetSensors(); }

 private:
  std::unique_ptr<Controller> controller_;
};

}  // namespace

Session::Session(const Options& options) : path_(options.module), verbose_(options.verbose) {
  RequireCommands();
  if (options.trace && !probe::OpenTrace(options.trace->c_str(), O_EXCL)) {
    throw Failure(REQUEST_FAILED, "cannot write '" + *options.trace + "': " + std::strerror(errno));
  }
  // All of the machine has to be there before the module starts.
  controller_ = std::make_unique<InterruptibleController>(MakeController(options));
  // A file is read at once, and a dump shows itself how far it is.
  const bool isLong = !options.sel && options.command != "dump-sel";
  host->controller = &keeper_.emplace(*controller_, isLong ? ShowProgress() : Progress());
  host->dist = options.distribution;
  TakeMessages(verbose_);
  undisturbed_.emplace();
  if (options.selLog) laid_.emplace(*options.selLog);
  guard_.emplace(verbose_);
  Reload();
}

void Session::Reload() {
  module_.reset();  // before it is loaded anew: a file that is still loaded is not
  keeper_->Forget();
  module_.emplace(path_);
  Start(*module_);
}

Session::~Session() {
  Close();
  host->controller = &noController;
}

void Session::LetModulePrint(const std::function<void()>& print) {
  guard_.reset();
  {
    const TerminalGuard terminal;
    print();
    if (std::fflush(stdout) != 0 && errno != EPIPE) {
      throw Failure(REQUEST_FAILED, std::string("cannot write to standard output: ") + std::strerror(errno));
    }
  }
  guard_.emplace(verbose_);
}

void Session::Stop() {
  Close();
  ThrowIfInterrupted();
}

void Session::Close() {
  module_.reset();
  guard_.reset();
  laid_.reset();
  undisturbed_.reset();
}

void Session::RequireAnswers() {
  if (const std::string problem = controller_->TakeProblem(); !problem.empty()) throw Failure(REQUEST_FAILED, problem);
}

}  // namespace standin
