/// boundedtext.h: text that is put together in a buffer of a fixed size.
#ifndef KESTRUNE_PLATFORM_BOUNDEDTEXT_H_
#define KESTRUNE_PLATFORM_BOUNDEDTEXT_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

/// Up to Size - 1 characters and a NUL; what does not fit is dropped.
template <size_t Size>
class BoundedText {
 public:
  BoundedText() { text_[0] = '\0'; }  // NOLINT(cppcoreguidelines-pro-type-member-init): the rest is written when used

  void Append(std::string_view text) {
    const size_t taken = std::min(text.size(), Size - 1 - length_);
    memcpy(text_.data() + length_, text.data(), taken);
    length_ += taken;
    text_[length_] = '\0';
  }

  /// Makes each `unwanted` character from position `start` on a blank.
  void BlankOut(size_t start, char unwanted) {
    char* at = text_.data() + start;
    char* end = text_.data() + length_;
    while ((at = static_cast<char*>(memchr(at, unwanted, static_cast<size_t>(end - at)))) != nullptr) *at = ' ';
  }

  size_t Length() const { return length_; }
  const char* Text() const { return text_.data(); }
  std::string_view View() const { return {text_.data(), length_}; }

 private:
  std::array<char, Size> text_;
  size_t length_ = 0;
};

#endif  // KESTRUNE_PLATFORM_BOUNDEDTEXT_H_
