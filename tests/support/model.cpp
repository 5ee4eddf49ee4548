#include "tests/support/model.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sstream>
#include <string_view>

namespace {

constexpr size_t CHUNK = 510;  // what one read of a line takes

Lines SplitLines(const std::string& content) {
  Lines lines;
  std::istringstream stream(content);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// 1 to 12, or 0 when the line does not begin with a month.
size_t Month(const std::string& line) {
  constexpr std::string_view MONTHS = "JANFEBMARAPRMAYJUNJULAUGSEPOCTNOVDEC";
  std::string name = line.substr(std::min(line.find_first_not_of(" \t"), line.size()), 3);
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::toupper(c); });
  size_t month = 12;
  while (month > 0 && MONTHS.substr(month * 3 - 3, 3) != name) --month;
  return month;
}

bool IsOlder(const std::string& a, const std::string& b) {
  return Month(a) != Month(b) ? Month(a) < Month(b) : a < b;  // std::string compares unsigned bytes
}

std::string Cut(const std::string& text, size_t from, size_t to = std::string::npos) {
  return from < text.size() ? text.substr(from, to - from) : "";
}

Row MakeRow(const std::string& text, bool isLong, size_t index, uint32_t id) {
  const size_t blank = text.find(' ', 16);
  std::string source, message;
  if (blank != std::string::npos) {
    const size_t colon = text.find(':', blank + 1);
    const size_t start = colon == std::string::npos ? blank + 1 : colon + 2;
    if (colon != std::string::npos) source = Cut(text, blank + 1, colon);
    if (start < (isLong ? 511 : text.size() - 1)) message = Cut(text, start);
  }
  return {static_cast<uint32_t>(index),
          id,
          TEXT_SHAPE,
          {Cut(text, 0, 6), Cut(text, 7, 15), source, Cut(text, 16, blank), message}};
}

/// The lines as the module lists them: newest first, the day padded with a zero, long ones read in chunks.
Rows List(Lines lines, uint32_t id, size_t firstIndex) {
  for (std::string& line : lines) {
    if (line.size() > 4 && line[4] == ' ') line[4] = '0';
  }
  std::sort(lines.begin(), lines.end(), [](const auto& a, const auto& b) { return IsOlder(b, a); });
  Rows rows;
  for (const std::string& line : lines) {
    for (std::string rest = line + '\n'; !rest.empty() && rows.size() < lines.size();) {
      std::string chunk = rest.substr(0, CHUNK);
      rest.erase(0, chunk.size());
      const bool isLong = chunk.back() != '\n';
      isLong ? rest.erase(0, CHUNK) : chunk.erase(chunk.size() - 1);
      rows.push_back(MakeRow(chunk.c_str(), isLong, firstIndex + rows.size(), id));  // up to a NUL
    }
  }
  return rows;
}

}  // namespace

Rows ModelRows(const std::string& content, uint32_t id, size_t begin, size_t end) {
  Lines lines = SplitLines(content);
  if (id == LOG_APPLICATION) std::sort(lines.begin(), lines.end(), IsOlder);
  const size_t first = end == 0 ? 0 : lines.size() - end;
  return List({lines.begin() + static_cast<ptrdiff_t>(first), lines.end() - static_cast<ptrdiff_t>(begin - 1)}, id,
              first + 1);
}

std::string MakeLog(int count, const std::string& tag) {
  std::string log;
  for (int i = 0; i < count; ++i) {
    char line[96];
    std::snprintf(line, sizeof(line), "Jun %2d %02d:%02d:%02d host %s[%d]: message number %d\n", i * 2 / count + 9,
                  i / 3600 % 24, i / 60 % 60, i % 60, tag.c_str(), i + 100, i);
    log += line;
  }
  return log;
}
