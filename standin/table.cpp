/// table.cpp: shows rows as a table, as csv and as JSON.
#include "standin/table.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <wchar.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <numeric>

#include "standin/failure.h"

namespace standin {
namespace {

constexpr size_t GAP = 2;
constexpr size_t NARROWEST = 8;
constexpr size_t DEFAULT_WIDTH = 80;
constexpr wchar_t CUT_MARK = L'>';

/// The text in the locale's encoding; a character that it lacks becomes a question mark.
std::string Narrow(std::wstring_view text) {
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

size_t Width(std::wstring_view text) {
  size_t width = 0;
  for (const wchar_t character : text) width += static_cast<size_t>(std::max(0, wcwidth(character)));
  return width;
}

/// At most `width` columns of the text.
std::wstring Cut(const std::wstring& text, size_t width) {
  if (Width(text) <= width) return text;
  std::wstring cut;
  size_t used = 0;
  for (const wchar_t character : text) {
    used += static_cast<size_t>(std::max(0, wcwidth(character)));
    if (used + 1 > width) break;
    cut += character;
  }
  return cut + CUT_MARK;
}

std::wstring Printable(std::wstring text) {
  for (wchar_t& character : text) {
    if (wcwidth(character) < 0) character = character == L'\t' ? L' ' : L'?';
  }
  return text;
}

}  // namespace

std::string RenderTable(const Table& table, size_t width) {
  std::vector<std::vector<std::wstring>> lines{{}};
  for (const Column& column : table.columns) {
    lines.front().emplace_back(column.name, column.name + std::strlen(column.name));
  }
  lines.insert(lines.end(), table.rows.begin(), table.rows.end());

  std::vector<size_t> widths(table.columns.size(), 0);
  for (auto& line : lines) {
    for (size_t i = 0; i < line.size(); ++i) {
      if (width != 0) line[i] = Printable(std::move(line[i]));
      widths[i] = std::max(widths[i], Width(line[i]));
    }
  }
  // Where a line does not fit, the widest columns give way.
  size_t total = std::accumulate(widths.begin(), widths.end(), GAP * (widths.size() - 1));
  for (; width != 0 && total > width; --total) {
    const auto widest = std::max_element(widths.begin(), widths.end());
    if (*widest <= NARROWEST) break;
    --*widest;
  }

  std::string text;
  for (const auto& line : lines) {
    std::wstring shown;
    for (size_t i = 0; i < line.size(); ++i) {
      const std::wstring cell = Cut(line[i], widths[i]);
      const std::wstring padding(widths[i] - Width(cell), L' ');
      if (i != 0) shown.append(GAP, L' ');
      shown.append(table.columns[i].numeric ? padding : cell).append(table.columns[i].numeric ? cell : padding);
    }
    shown.erase(shown.find_last_not_of(L' ') + 1);
    text += Narrow(width == 0 ? shown : Cut(shown, width)) + '\n';
  }
  return text;
}

std::string RenderCsv(const Table& table) {
  std::string text;
  const auto addCell = [&](const std::string& cell, bool first) {
    if (!first) text += ',';
    if (cell.find_first_of(",\"\r\n") == std::string::npos) {
      text += cell;
      return;
    }
    text += '"';
    for (const char character : cell) text.append(character == '"' ? 2 : 1, character);
    text += '"';
  };
  for (const Column& column : table.columns) addCell(column.name, &column == &table.columns.front());
  text += "\r\n";
  for (const auto& row : table.rows) {
    for (const auto& cell : row) addCell(Narrow(cell), &cell == &row.front());
    text += "\r\n";
  }
  return text;
}

std::string RenderJson(const Table& table) {
  std::string text = "[";
  for (const auto& row : table.rows) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (size_t i = 0; i < row.size(); ++i) {
      const Column& column = table.columns[i];
      if (column.numeric) {
        object[column.name] = std::wcstoll(row[i].c_str(), nullptr, 10);
      } else {
        object[column.name] = Narrow(row[i]);
      }
    }
    text += text.size() == 1 ? "\n" : ",\n";
    text += object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  }
  return text + (table.rows.empty() ? "]\n" : "\n]\n");
}

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

}  // namespace standin
