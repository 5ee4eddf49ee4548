/// logform.h: whether the lines of a text log have the form that modules expect, and so are shown as they are meant.
#ifndef KESTRUNE_STANDIN_OUTPUT_LOGFORM_H_
#define KESTRUNE_STANDIN_OUTPUT_LOGFORM_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace standin {

/// Modules look at this many lines of a log alone, the newest ones.
inline constexpr uint64_t NEWEST_LINES = 30000;

/// What was found in a log, or in several.
struct LogForm {
  uint64_t lines = 0;     ///< all of them
  uint64_t examined = 0;  ///< the newest ones
  uint64_t strange = 0;   ///< of these, those that are not traditional
  uint64_t noText = 0;    ///< of these, those that are no text in the character encoding of the locale
};

/// Whether a line begins as log daemons wrote it traditionally: Mmm dd hh:mm:ss host.
bool IsTraditional(std::string_view line);

/// Adds what a file holds. One that cannot be read holds nothing.
void ExamineLog(const std::string& path, LogForm& form);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_OUTPUT_LOGFORM_H_
