/// cmderror.h: what to say of a command line that is wrong.
#ifndef KESTRUNE_STANDIN_CMDERROR_H_
#define KESTRUNE_STANDIN_CMDERROR_H_

#include <string>

namespace CLI {  // NOLINT(readability-identifier-naming): the library's name
class App;
class ParseError;
}  // namespace CLI

namespace standin {

/// One line for a command line that does not parse: what was wrong, and what is allowed.
std::string Explain(const CLI::ParseError& error, CLI::App& app);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_CMDERROR_H_
