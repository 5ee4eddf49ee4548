/// streams.h: keeps what a module writes by itself off the screen of kestrune-host's user.
#ifndef KESTRUNE_STANDIN_STREAMS_H_
#define KESTRUNE_STANDIN_STREAMS_H_

#include <cstdio>

namespace standin {

/// A module writes a few lines to the process's streams by itself. While this lives, its standard output goes to
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

#endif  // KESTRUNE_STANDIN_STREAMS_H_
