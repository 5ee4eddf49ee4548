/// notice.h: what a long-running command has to say of a state that lasts: once when it begins, not at every look.
#ifndef KESTRUNE_STANDIN_FOLLOW_NOTICE_H_
#define KESTRUNE_STANDIN_FOLLOW_NOTICE_H_

#include <cstdio>
#include <string>

namespace standin {

class Notice {
 public:
  /// Says on standard error that `state` has begun, unless it was said last. An empty one ends what was said.
  void Say(const std::string& state) {
    if (state == said_) return;
    std::string line = state.empty() ? "that is over: " + said_ : state;
    for (char& character : line) {
      if (static_cast<unsigned char>(character) < ' ' || character == '\x7F') character = '?';
    }
    // Through the descriptor: the C stream is the module's while it lives.
    dprintf(2, "note: %s\n", line.c_str());
    said_ = state;
  }

 private:
  std::string said_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_NOTICE_H_
