/// controllers.h: the controller that a command line describes.
#ifndef KESTRUNE_STANDIN_CONTROLLERS_H_
#define KESTRUNE_STANDIN_CONTROLLERS_H_

#include <memory>

#include "standin/cmdline.h"
#include "standin/host/controller.h"
#include "standin/host/progress.h"

namespace standin {

/// Shows on a terminal how far a long reading has come.
Progress ShowProgress();

/// Throws Failure where the sub-command needs a controller that cannot be had.
std::unique_ptr<Controller> MakeController(const Options& options);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_CONTROLLERS_H_
