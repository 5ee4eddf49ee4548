#include "standin/output/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "standin/failure.h"

namespace standin {
namespace {

constexpr size_t DEFAULT_WIDTH = 80;
constexpr wchar_t REPLACEMENT = L'\uFFFD';

/// Whether a character turns the direction of writing for those after it.
bool TurnsWriting(wchar_t character) {
  return character == L'\u061C' || character == L'\u200E' || character == L'\u200F' ||
         (character >= L'\u202A' && character <= L'\u202E') || (character >= L'\u2066' && character <= L'\u2069');
}

void AppendEscaped(std::wstring& text, wchar_t character) {
  std::array<wchar_t, 16> escaped{};
  const auto code = std::bit_cast<unsigned int>(character);
  const wchar_t* form = code < 0x100 ? L"\\x%02X" : code < 0x10000 ? L"\\u%04X" : L"\\U%08X";
  std::swprintf(escaped.data(), escaped.size(), form, code);
  text += escaped.data();
}

/// Text in the locale's encoding; of what is none, each byte is the character of that number.
std::wstring FromLocale(std::string_view text) {
  std::wstring wide;
  std::mbstate_t state{};
  while (!text.empty()) {
    wchar_t character = 0;
    size_t count = std::mbrtowc(&character, text.data(), text.size(), &state);
    if (count > text.size()) {
      state = {};
      character = static_cast<unsigned char>(text.front());
      // Below U+00A0, so that it is always escaped.
      if (character >= 0x80) {
        AppendEscaped(wide, character);
        text.remove_prefix(1);
        continue;
      }
      count = 1;
    }
    wide += character;
    text.remove_prefix(count == 0 ? 1 : count);
  }
  return wide;
}

/// Takes what the stream has collected, as a rule a line.
ssize_t WriteEscaped(void*, const char* text, size_t size) {
  std::string_view rest(text, size);
  try {
    while (!rest.empty()) {
      const size_t end = rest.find('\n');
      Print(ToLocale(Escape(FromLocale(rest.substr(0, end)))));
      if (end == std::string_view::npos) break;
      Print("\n");
      rest.remove_prefix(end + 1);
    }
  } catch (const std::exception&) {
    return 0;  // which the stream takes for an error
  }
  return static_cast<ssize_t>(size);
}

}  // namespace

size_t TerminalWidth() {
  if (isatty(STDOUT_FILENO) == 0) return 0;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  const char* columns = std::getenv("COLUMNS");
  const int width = columns == nullptr ? 0 : std::atoi(columns);
  return width > 0 ? static_cast<size_t>(width) : DEFAULT_WIDTH;
}

void Print(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<size_t>(written));
    } else if (errno == EPIPE) {
      return;
    } else if (errno != EINTR) {
      throw Failure(REQUEST_FAILED, std::string("cannot write to standard output: ") + std::strerror(errno));
    }
  }
}

std::wstring Escape(std::wstring_view text) {
  std::wstring escaped;
  for (const wchar_t character : text) {
    if (character == L'\0' || wcwidth(character) < 0 || TurnsWriting(character)) {
      AppendEscaped(escaped, character);
    } else {
      escaped += character;
    }
  }
  return escaped;
}

std::wstring FromUTF8(std::string_view text) {
  std::wstring wide;
  for (size_t i = 0; i < text.size();) {
    const auto first = static_cast<unsigned char>(text[i]);
    const size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    unsigned int code = length == 1 ? first : first & (0xFFU >> (length + 1));
    bool isWhole = i + length <= text.size() && (first < 0x80 || first >= 0xC0);
    for (size_t j = 1; isWhole && j < length; ++j) {
      const auto next = static_cast<unsigned char>(text[i + j]);
      isWhole = (next & 0xC0) == 0x80;
      code = code << 6 | (next & 0x3FU);
    }
    wide += isWhole ? static_cast<wchar_t>(code) : REPLACEMENT;
    i += isWhole ? length : 1;
  }
  return wide;
}

std::string ToUTF8(std::wstring_view text) {
  std::string bytes;
  for (const wchar_t character : text) {
    auto code = std::bit_cast<unsigned int>(character);
    if (code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) code = static_cast<unsigned int>(REPLACEMENT);
    const auto add = [&](unsigned int byte) { bytes += static_cast<char>(byte); };
    if (code < 0x80) {
      add(code);
    } else if (code < 0x800) {
      add(0xC0 | code >> 6);
    } else if (code < 0x10000) {
      add(0xE0 | code >> 12);
      add(0x80 | (code >> 6 & 0x3F));
    } else {
      add(0xF0 | code >> 18);
      add(0x80 | (code >> 12 & 0x3F));
      add(0x80 | (code >> 6 & 0x3F));
    }
    if (code >= 0x80) add(0x80 | (code & 0x3F));
  }
  return bytes;
}

std::string ToLocale(std::wstring_view text) {
  std::string narrow;
  std::mbstate_t state{};
  std::string bytes(MB_LEN_MAX, '\0');
  for (const wchar_t character : text) {
    const size_t count = std::wcrtomb(bytes.data(), character, &state);
    if (count == static_cast<size_t>(-1)) {
      state = {};
      narrow += '?';
    } else {
      narrow.append(bytes, 0, count);
    }
  }
  return narrow;
}

TerminalGuard::TerminalGuard() {
  if (TerminalWidth() == 0) return;
  filter_ = fopencookie(nullptr, "w", {nullptr, WriteEscaped, nullptr, nullptr});
  if (filter_ == nullptr)
    throw Failure(REQUEST_FAILED, std::string("cannot write to the terminal: ") + std::strerror(errno));
  std::setvbuf(filter_, nullptr, _IOLBF, BUFSIZ);
  stdout = filter_;
}

TerminalGuard::~TerminalGuard() {
  stdout = out_;
  if (filter_ != nullptr) std::fclose(filter_);
}

}  // namespace standin
