/// table.h: rows of named fields, and the forms in which they are shown.
#ifndef KESTRUNE_STANDIN_OUTPUT_TABLE_H_
#define KESTRUNE_STANDIN_OUTPUT_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace standin {

struct Column {
  const char* name;
  bool isInTable = true;        ///< shown in a table and as csv unless others were asked for
  bool isInJson = true;         ///< a member of the JSON objects unless others were asked for
  bool keepsEnd = false;        ///< where it is cut, its end stays: a description ends with the reading
  const char* stead = nullptr;  ///< the field that a table shows in its stead in rows that have one of this name
};

// NOLINTNEXTLINE(bugprone-exception-escape): moving a JSON value throws nothing, which its library does not show
struct Row {
  nlohmann::ordered_json fields;  ///< an object of texts in UTF-8, numbers, arrays of numbers and nulls
  std::optional<int64_t> time{};  ///< of a log's record: seconds since 1970, where they are known
};

struct Table {
  std::vector<Column> columns;
  std::vector<Row> rows;
};

/// Leaves the columns of these names, in that order and all of them shown. Throws Failure (wrong arguments) for a name
/// that is no column.
void ChooseColumns(Table& table, const std::vector<std::string>& names);

/// Columns side by side under a line of their names. A `width` other than 0 is that of a terminal. Where the lines are
/// longer, the columns whose cells are all the same give way first, and are named in a line above the table; then what
/// does not fit is cut, with a mark in its place. Nothing then moves the cursor.
std::string RenderTable(const Table& table, size_t width);

/// A line of a table whose end is not known yet: the row's cells, or the columns' names without one, as wide as any of
/// the lines before. `widths` belongs to the table and is empty at first.
std::string RenderLine(const std::vector<Column>& columns, const Row* row, std::vector<size_t>& widths,
                       bool onTerminal);

/// RFC 4180: a header line, lines ended by CR LF, quotes where a cell needs them. Nothing but the ends of the lines
/// moves the cursor `onTerminal`.
std::string RenderCsv(const Table& table, bool onTerminal);

/// A JSON object, without a newline, of those of the columns that the row has. ASCII alone.
std::string RenderObject(const std::vector<Column>& columns, const Row& row);

/// An array of objects, one a line.
std::string RenderJson(const Table& table);

/// Shows a table on standard output as `format` says: table, csv, json, or jsonl, which is written object by object.
/// Throws Failure.
void Show(const Table& table, const std::string& format);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_OUTPUT_TABLE_H_
