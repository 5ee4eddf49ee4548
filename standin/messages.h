/// messages.h: what modules say through Output, as kestrune-host takes it.
#ifndef KESTRUNE_STANDIN_MESSAGES_H_
#define KESTRUNE_STANDIN_MESSAGES_H_

#include <string>

namespace standin {

/// Has the host keep the last error, and show each message on standard error if `verbose`.
void TakeMessages(bool verbose);

/// The newest message of level OUTPUT_ERROR, without its newline; empty when there was none.
std::string LastError();

}  // namespace standin

#endif  // KESTRUNE_STANDIN_MESSAGES_H_
