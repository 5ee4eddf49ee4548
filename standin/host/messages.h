/// messages.h: what a module says while kestrune-host works with it: its messages through Output, and what it writes to
/// the process's streams by itself.
#ifndef KESTRUNE_STANDIN_HOST_MESSAGES_H_
#define KESTRUNE_STANDIN_HOST_MESSAGES_H_

#include <cstdio>
#include <string>

namespace standin {

/// Has the host keep the last error, and show errors and warnings on standard error, each once, or if `verbose` all
/// messages.
void TakeMessages(bool verbose);

/// The newest message of level OUTPUT_ERROR, without its newline; empty when there was none.
std::string LastError();

/// While this lives, the module's standard output goes to
/// standard error, so that a table or a JSON text stays whole, and its debug lines are dropped unless they are wanted.
/// Only the C streams are exchanged; the descriptors stay as they are.
class StreamGuard {
 public:
  explicit StreamGuard(bool verbose);
  ~StreamGuard();
  StreamGuard(const StreamGuard&) = delete;
  StreamGuard& operator=(const StreamGuard&) = delete;

 private:
  FILE* out_ = stdout;
  FILE* err_ = stderr;
  FILE* filter_ = nullptr;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_MESSAGES_H_
