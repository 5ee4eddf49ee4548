/// terminal.h: standard output, and what must not reach it raw where it is a terminal.
#ifndef KESTRUNE_STANDIN_OUTPUT_TERMINAL_H_
#define KESTRUNE_STANDIN_OUTPUT_TERMINAL_H_

#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <string>
#include <string_view>

namespace standin {

/// The width of the terminal that standard output is, 0 when it is none.
size_t TerminalWidth();

/// Writes to standard output. A reader that has gone ends that quietly. Throws Failure for other errors.
void Print(std::string_view text);

/// The text with `\x1B` and `\u202E` in the place of control characters, of marks that turn the direction of writing,
/// and of what the locale cannot show.
std::wstring Escape(std::wstring_view text);

/// Between the encodings: JSON texts are UTF-8, a terminal and csv have the locale's, in which a character that it
/// lacks becomes a question mark. What is no UTF-8 becomes U+FFFD.
std::wstring FromUTF8(std::string_view text);
std::string ToUTF8(std::wstring_view text);
std::string ToLocale(std::wstring_view text);

/// While this lives, what the module writes to the C stream standard output reaches a terminal line by line and
/// escaped. Where standard output is no terminal, it stays as it is.
class TerminalGuard {
 public:
  TerminalGuard();
  ~TerminalGuard();
  TerminalGuard(const TerminalGuard&) = delete;
  TerminalGuard& operator=(const TerminalGuard&) = delete;

 private:
  FILE* out_ = stdout;
  FILE* filter_ = nullptr;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_OUTPUT_TERMINAL_H_
