/// hostfunctions.h: the host's functions, which the real module calls through wrappers of the probe: its imports are
/// led to them after it has been loaded. The host's answers pass unchanged.
#ifndef KESTRUNE_PROBE_HOSTFUNCTIONS_H_
#define KESTRUNE_PROBE_HOSTFUNCTIONS_H_

namespace probe {

/// Reports the functions that the process does not export.
void CheckHostFunctions();

/// Puts the wrappers between the real module, which is loaded, and the host.
void WrapHostFunctions();

/// Reports functions that do not come back, until the watch is ended. KESTRUNE_PROBE_LIMIT: after how many seconds; 5.
void BeginWatch();
void EndWatch();

/// In a forked child, where the watching thread is not: forgets it.
void LeaveWatch();

}  // namespace probe

#endif  // KESTRUNE_PROBE_HOSTFUNCTIONS_H_
