/// commands.h: what the sub-commands do.
#ifndef KESTRUNE_STANDIN_COMMANDS_H_
#define KESTRUNE_STANDIN_COMMANDS_H_

#include "standin/cmdline.h"

namespace standin {

/// Prints the answer of the command line, or runs its sub-command. Throws Failure.
void RunCommand(const Options& options);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_COMMANDS_H_
