/// session.h: a module at work: on the machine that the command line describes, from its start to its end.
#ifndef KESTRUNE_STANDIN_SESSION_H_
#define KESTRUNE_STANDIN_SESSION_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "standin/cmdline.h"
#include "standin/controller.h"
#include "standin/messages.h"
#include "standin/module.h"

namespace standin {

/// One at a time. Its end stops the module.
class Session {
 public:
  /// Sets up the machine, loads the module and starts it. Throws Failure.
  explicit Session(const Options& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const Module& GetModule() const { return *module_; }
  Controller& GetController() { return *controller_; }

  /// Runs `print` with the standard output that the module's own printing otherwise does not get.
  void LetModulePrint(const std::function<void()>& print);

  /// Stops and unloads the module.
  void Stop();

  /// Throws Failure when the controller did not answer: modules take it for one with an empty log.
  void RequireAnswers();

 private:
  bool verbose_;
  std::unique_ptr<Controller> controller_;
  std::optional<StreamGuard> guard_;
  std::optional<Module> module_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_SESSION_H_
