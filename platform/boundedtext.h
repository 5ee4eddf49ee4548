/// boundedtext.h: text that is put together in a buffer of a fixed size.
#ifndef KESTRUNE_PLATFORM_BOUNDEDTEXT_H_
#define KESTRUNE_PLATFORM_BOUNDEDTEXT_H_

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

/// Writes into a buffer, which must outlive it: what fits with a NUL behind it; the rest is dropped.
class BoundedText {
 public:
  /// The buffer has one byte at least.
  explicit BoundedText(std::span<char> buffer) : buffer_(buffer) { buffer_[0] = '\0'; }

  void Append(std::string_view text) {
    const size_t taken = std::min(text.size(), buffer_.size() - 1 - length_);
    memcpy(buffer_.data() + length_, text.data(), taken);
    length_ += taken;
    buffer_[length_] = '\0';
  }

  /// Makes each `unwanted` character from position `begin` up to `end` a blank.
  void BlankOut(char unwanted, size_t begin, size_t end) {
    for (char* at = buffer_.data() + begin;; *at = ' ') {
      const auto left = static_cast<size_t>(buffer_.data() + end - at);
      at = static_cast<char*>(memchr(at, unwanted, left));
      if (at == nullptr) return;
    }
  }

  size_t Length() const { return length_; }

  /// The part of the buffer behind the text, its NUL included, for a further writer...
  std::span<char> Rest() const { return buffer_.subspan(length_); }
  /// ...whose `length` characters then belong to the text.
  void Take(size_t length) { length_ += length; }

 private:
  std::span<char> buffer_;
  size_t length_ = 0;
};

#endif  // KESTRUNE_PLATFORM_BOUNDEDTEXT_H_
