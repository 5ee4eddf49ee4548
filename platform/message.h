/// message.h: messages to the host's log, one helper per level. Every message names this module as its first argument;
/// formats are checked against their arguments when they are compiled.
#ifndef KESTRUNE_PLATFORM_MESSAGE_H_
#define KESTRUNE_PLATFORM_MESSAGE_H_

#include <type_traits>

#include "platform/host.h"

inline constexpr const char* MODULE_NAME = "kestrune";

/// A message's format: "%s" for the module name, then one of %s, %d, %x, %ld and %lx for each of Args.
template <typename... Args>
class MessageFormat {
 public:
  consteval MessageFormat(const char* text) : text_(text) {  // NOLINT(google-explicit-constructor): a literal is one
    const char* rest = text;
    if (!(Accepts<const char*>(rest) && (Accepts<Args>(rest) && ...)) || Next(rest) != nullptr) {
      throw "the format does not fit its arguments";
    }
  }

  const char* Text() const { return text_; }

 private:
  /// What follows the next percent sign, or null.
  static constexpr const char* Next(const char* text) {
    while (*text != '\0' && *text != '%') ++text;
    return *text == '\0' ? nullptr : text + 1;
  }

  template <typename T>
  static constexpr bool Accepts(const char*& rest) {
    const char* conversion = Next(rest);
    if (conversion == nullptr) return false;
    const bool isLong = *conversion == 'l';
    if (isLong) ++conversion;
    rest = conversion + 1;
    if (*conversion == 's') return std::is_same_v<T, const char*> && !isLong;
    if (*conversion == 'd') return std::is_same_v<T, long> ? isLong : std::is_same_v<T, int> && !isLong;
    if (*conversion == 'x')
      return std::is_same_v<T, unsigned long> ? isLong : std::is_same_v<T, unsigned int> && !isLong;
    return false;
  }

  const char* text_;
};

/// Something failed.
template <typename... Args>
void Error(MessageFormat<std::type_identity_t<Args>...> format, Args... args) {
  Output(OUTPUT_ERROR, format.Text(), MODULE_NAME, args...);
}

/// Something is not as it should be, and the work goes on.
template <typename... Args>
void Warning(MessageFormat<std::type_identity_t<Args>...> format, Args... args) {
  Output(OUTPUT_WARNING, format.Text(), MODULE_NAME, args...);
}

/// What the module is doing.
template <typename... Args>
void Debug(MessageFormat<std::type_identity_t<Args>...> format, Args... args) {
  Output(OUTPUT_DEBUG, format.Text(), MODULE_NAME, args...);
}

#endif  // KESTRUNE_PLATFORM_MESSAGE_H_
