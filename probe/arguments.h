/// arguments.h: the arguments of a request, looked at before the module sees them.
#ifndef KESTRUNE_PROBE_ARGUMENTS_H_
#define KESTRUNE_PROBE_ARGUMENTS_H_

#include <string>

#include "probe/request.h"

namespace probe {

/// Reports what is not right with the arguments of the request, which findings call `what`.
void CheckArguments(const Request& request, const std::string& what);

}  // namespace probe

#endif  // KESTRUNE_PROBE_ARGUMENTS_H_
