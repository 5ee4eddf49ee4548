/// trace.h: a dialogue between host and module as a file with one JSON object a line: the call's name, its arguments,
/// its result, when it began and how long it took, and its thread. The probe writes one, and so does kestrune-host, so
/// that two dialogues can be held side by side.
#ifndef KESTRUNE_PROBE_TRACE_H_
#define KESTRUNE_PROBE_TRACE_H_

#include <chrono>
#include <cstdint>
#include <string>

#include "probe/request.h"

namespace probe {

/// Opens the file of the trace and writes to it from now on. What of a file that is there `how` says: O_EXCL, there
/// must be none, O_TRUNC, it is emptied, or O_APPEND, the trace goes on. Returns false, with errno set, if that fails.
bool OpenTrace(const char* path, int how);

/// Closes it. No call may be under way.
void CloseTrace();

/// One call: made before it, and written when its result is known. Without an open trace it does nothing.
class TracedCall {
 public:
  explicit TracedCall(const char* name);
  /// The arguments of SPConfig, as they are before the call.
  TracedCall(const char* name, const Request& request);

  TracedCall& Add(const char* name, uint64_t number);
  TracedCall& Add(const char* name, const char* text);
  /// Writes the line of a call that answered nothing.
  void End();
  void End(int64_t result);
  /// With count and range as the answer left them.
  void End(int64_t result, const Request& request);

 private:
  void AddSettings(const Request& request);

  bool isOn_;
  std::string line_;
  std::chrono::steady_clock::time_point begin_;
};

}  // namespace probe

#endif  // KESTRUNE_PROBE_TRACE_H_
