/// cmdvalues.cpp: values of the command line, taken from their texts.
#include "standin/cmdvalues.h"

#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "standin/failure.h"

namespace standin {
namespace {

/// A whole number: decimal, or hexadecimal after 0x.
std::optional<uint64_t> ParseNumber(std::string_view text, uint64_t highest) {
  const bool hexadecimal = text.substr(0, 2) == "0x";
  if (hexadecimal) text.remove_prefix(2);
  uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
  if (error != std::errc() || stop != end || number > highest) return std::nullopt;
  return number;
}

}  // namespace

Lines ParseLines(const std::string& text) {
  const size_t dash = text.find('-');
  const auto begin = ParseNumber(text.substr(0, dash), UINT32_MAX);
  const auto end = dash == std::string::npos ? std::nullopt : ParseNumber(text.substr(dash + 1), UINT32_MAX);
  if (!begin || !end || *begin == 0 || *begin > *end) {
    throw Failure(WRONG_ARGUMENTS,
                  "show: --lines: '" + text + "' is no range; allowed is A-B with 1 <= A <= B <= 4294967295");
  }
  return {static_cast<uint32_t>(*begin), static_cast<uint32_t>(*end)};
}

uint64_t ParseWord(const std::string& text) {
  const auto word = ParseNumber(text, UINT64_MAX);
  if (!word) {
    throw Failure(WRONG_ARGUMENTS, "settings: --set: '" + text +
                                       "' is no settings word; allowed is a number of up to 64 bits, decimal or "
                                       "hexadecimal after 0x");
  }
  return *word;
}

std::wstring Widen(const std::string& text) {
  const size_t length = std::mbstowcs(nullptr, text.c_str(), 0);
  if (length == static_cast<size_t>(-1)) {
    throw Failure(WRONG_ARGUMENTS, "write: TEXT: allowed is text in the character encoding of the locale alone");
  }
  std::wstring wide(length, L'\0');
  std::mbstowcs(wide.data(), text.c_str(), length);
  return wide;
}

void ParseAddress(const std::string& text, IPMIOptions& ipmi) {
  const size_t colon = text.rfind(':');
  const bool isBare = colon != std::string::npos && text.find(':') != colon && text.front() != '[';
  const bool hasPort = colon != std::string::npos && !isBare && (text.front() != '[' || text[colon - 1] == ']');
  std::string host = hasPort ? text.substr(0, colon) : text;
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
  const auto port = hasPort ? ParseNumber(text.substr(colon + 1), UINT16_MAX) : IPMI_PORT;
  if (host.empty() || !port || *port == 0) {
    throw Failure(WRONG_ARGUMENTS, "--ipmi: '" + text + "' is no address; allowed is HOST or HOST:PORT");
  }
  ipmi.host = host;
  ipmi.port = static_cast<uint16_t>(*port);
}

}  // namespace standin
