/// password.h: where the password of a controller comes from. Never from the command line, which others can read.
#ifndef KESTRUNE_STANDIN_PASSWORD_H_
#define KESTRUNE_STANDIN_PASSWORD_H_

#include <optional>
#include <string>

namespace standin {

/// The first line of `file` if one is named, else the variable IPMI_PASSWORD, else what is typed at the terminal, which
/// does not show it. Throws Failure where there is none of these.
std::string GetPassword(const std::optional<std::string>& file);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_PASSWORD_H_
