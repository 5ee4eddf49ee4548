/// table.h: rows of named columns, and the three forms in which they are shown.
#ifndef KESTRUNE_STANDIN_TABLE_H_
#define KESTRUNE_STANDIN_TABLE_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

struct Column {
  const char* name;
  bool numeric = false;  ///< every cell is a decimal number
};

struct Table {
  std::vector<Column> columns;
  std::vector<std::vector<std::wstring>> rows;  ///< one cell for each column
};

/// Columns side by side under a line of their names. A `width` other than 0 cuts what does not fit and shows a mark in
/// its place; characters that would move the cursor are replaced then.
std::string RenderTable(const Table& table, size_t width);

/// RFC 4180: a header line, lines ended by CR LF, quotes where a cell needs them.
std::string RenderCsv(const Table& table);

/// An array of objects, one a line. Always valid UTF-8.
std::string RenderJson(const Table& table);

/// The width of the terminal that standard output is, 0 when it is none.
size_t TerminalWidth();

/// Writes to standard output. A reader that has gone ends that quietly. Throws Failure for other errors.
void Print(std::string_view text);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_TABLE_H_
