/// session.h: a module at work: on the machine that the command line describes, from its start to its end.
#ifndef KESTRUNE_STANDIN_SESSION_H_
#define KESTRUNE_STANDIN_SESSION_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "standin/cmdline.h"
#include "standin/host/controller.h"
#include "standin/host/messages.h"
#include "standin/host/module.h"
#include "standin/host/recordkeeper.h"
#include "standin/host/selfile.h"
#include "standin/signals.h"

namespace standin {

/// One at a time. Its end stops the module. A signal meanwhile is noted alone, and ends a reading of the controller.
class Session {
 public:
  /// Sets up the machine, loads the module and starts it. Throws Failure.
  explicit Session(const Options& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const Module& GetModule() const { return *module_; }
  Controller& GetController() { return *controller_; }

  /// The records that the module was given of the controller's log.
  const RecordKeeper& GetKeeper() const { return *keeper_; }

  /// Runs `print` with the standard output that the module's own printing otherwise does not get. It reaches a
  /// terminal escaped.
  void LetModulePrint(const std::function<void()>& print);

  /// Loads and starts the module anew: it has forgotten everything then. Throws Failure.
  void Reload();

  /// Stops and unloads the module, and removes what was laid for it. Throws Interrupted when a signal came meanwhile.
  void Stop();

  /// Throws Failure when the controller did not answer: modules take it for one with an empty log.
  void RequireAnswers();

 private:
  void Close();

  std::string path_;
  bool verbose_;
  std::unique_ptr<Controller> controller_;
  std::optional<RecordKeeper> keeper_;
  std::optional<Undisturbed> undisturbed_;
  std::optional<LaidSelLog> laid_;
  std::optional<StreamGuard> guard_;
  std::optional<Module> module_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_SESSION_H_
