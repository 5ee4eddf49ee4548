/// trouble.h: trouble on cue: what KESTRUNE_PROBE_TROUBLE asks the probe to answer in place of the module, so that a
/// host's author sees whether the host bears it. Without that variable there is none.
#ifndef KESTRUNE_PROBE_TROUBLE_H_
#define KESTRUNE_PROBE_TROUBLE_H_

#include <cstdint>
#include <functional>

#include "probe/request.h"

namespace probe {

/// Reads the variable, and the file that it may name. Says what is not understood of it.
void ReadTrouble();

/// Answers the request: `ask` sends it to the real module, unless the trouble is that this does not happen. Leaves in
/// `trouble` the name of what was done, or null.
int32_t AnswerWithTrouble(const Request& request, const std::function<int32_t()>& ask, const char** trouble);

}  // namespace probe

#endif  // KESTRUNE_PROBE_TROUBLE_H_
