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
  /// Size of the pieces of AppendPadded, in bytes: two vector registers of 16.
  static constexpr size_t PADDING = 32;

  /// The buffer has one byte at least.
  explicit BoundedText(std::span<char> buffer) : buffer_(buffer) { buffer_[0] = '\0'; }

  void Append(std::string_view text) {
    const size_t taken = std::min(text.size(), buffer_.size() - 1 - length_);
    memcpy(buffer_.data() + length_, text.data(), taken);
    Take(taken);
  }

  /// Appends a text behind which PADDING more bytes can be read. It is copied in whole pieces of that size, which is
  /// faster than to copy a length that nobody foresees; whatever they write behind it is no part of the text.
  void AppendPadded(std::string_view text) {
    if (text.size() + PADDING > buffer_.size() - length_) return Append(text);
    for (size_t i = 0; i < text.size(); i += PADDING) memcpy(buffer_.data() + length_ + i, text.data() + i, PADDING);
    Take(text.size());
  }

  size_t Length() const { return length_; }

  /// The part of the buffer behind the text, its NUL included, for a further writer...
  std::span<char> Rest() const { return buffer_.subspan(length_); }
  /// ...whose `length` characters then belong to the text.
  void Take(size_t length) {
    length_ += length;
    buffer_[length_] = '\0';
  }

 private:
  std::span<char> buffer_;
  size_t length_ = 0;
};

#endif  // KESTRUNE_PLATFORM_BOUNDEDTEXT_H_
