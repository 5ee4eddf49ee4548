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
  void Append(std::string_view text) {
    const size_t taken = std::min(text.size(), text_.size() - 1 - length_);
    memcpy(text_.data() + length_, text.data(), taken);
    length_ += taken;
  }

  const char* Text() const { return text_.data(); }
  std::string_view View() const { return {text_.data(), length_}; }

 private:
  std::array<char, Size> text_{};
  size_t length_ = 0;
};

#endif  // KESTRUNE_PLATFORM_BOUNDEDTEXT_H_
