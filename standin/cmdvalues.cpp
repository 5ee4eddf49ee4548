/// cmdvalues.cpp: values of the command line, taken from their texts.
#include "standin/cmdvalues.h"

#include <strings.h>

#include <charconv>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string_view>

#include "standin/failure.h"
#include "standin/output/eventwords.h"
#include "standin/output/logtime.h"

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

std::vector<std::string> SplitList(const std::string& text) {
  std::vector<std::string> words;
  size_t begin = 0;
  for (size_t comma; (comma = text.find(',', begin)) != std::string::npos; begin = comma + 1) {
    words.push_back(text.substr(begin, comma - begin));
  }
  words.push_back(text.substr(begin));
  return words;
}

Lines ParseLines(const std::string& text) {
  const size_t dash = text.find('-');
  const bool isRange = dash != std::string::npos;
  const std::string begin = isRange ? text.substr(0, dash) : std::string();
  const std::string end = isRange ? text.substr(dash + 1) : text;
  const std::optional<uint64_t> first = begin.empty() && !end.empty() ? 1 : ParseNumber(begin, UINT32_MAX);
  const std::optional<uint64_t> last = end.empty() && !begin.empty() ? UINT32_MAX : ParseNumber(end, UINT32_MAX);
  if (!first || !last || *first == 0 || *first > *last) {
    throw Failure(WRONG_ARGUMENTS,
                  "show: --lines: '" + text +
                      "' is no range; allowed are A-B with 1 <= A <= B, A- for all from A on, and -B or "
                      "B for the newest B");
  }
  return {static_cast<uint32_t>(*first), static_cast<uint32_t>(*last)};
}

int64_t ParseTime(const std::string& option, const std::string& text, bool end) {
  const auto time = ParseTime(text, end, std::time(nullptr));
  if (!time) {
    throw Failure(WRONG_ARGUMENTS, "show: " + option + ": '" + text +
                                       "' is no time; allowed are 2026-08-18, 2026-08-18T10:56:35 (or with a zone: Z, "
                                       "+02:00), today, yesterday, and spans back from now: -90s, -30m, -2h, -3d, -1w");
  }
  return *time;
}

std::vector<int64_t> ParseSensorTypes(const std::string& text) {
  std::vector<int64_t> types;
  for (const std::string& part : SplitList(text)) {
    const size_t before = types.size();
    if (const auto number = ParseNumber(part, UINT8_MAX)) types.push_back(static_cast<int64_t>(*number));
    for (int type = 1; type <= UINT8_MAX && !part.empty(); ++type) {
      const std::string name(SensorTypeName(static_cast<uint8_t>(type)));
      if (strncasecmp(name.c_str(), part.c_str(), part.size()) == 0) types.push_back(type);
    }
    if (types.size() == before) {
      throw Failure(WRONG_ARGUMENTS, "show: --sensor-type: '" + part +
                                         "' is no sensor type; allowed are numbers, and beginnings of the standard's "
                                         "words, such as memory or drive");
    }
  }
  return types;
}

std::vector<std::string> ParseSeverities(const std::string& text) {
  std::vector<std::string> severities = SplitList(text);
  for (const std::string& severity : severities) {
    std::string allowed;
    bool isOne = false;
    for (const Severity each : {Severity::INFORMATION, Severity::NON_CRITICAL, Severity::FAILURE, Severity::CRITICAL,
                                Severity::NON_RECOVERABLE}) {
      isOne |= severity == SeverityName(each);
      allowed.append(allowed.empty() ? "" : ", ").append(SeverityName(each));
    }
    if (!isOne) {
      throw Failure(
          WRONG_ARGUMENTS,
          std::string("show: --severity: '").append(severity).append("' is none; allowed are ").append(allowed));
    }
  }
  return severities;
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
