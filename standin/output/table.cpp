/// table.cpp: shows rows as a table, as csv and as JSON.
#include "standin/output/table.h"

#include <algorithm>
#include <cwchar>
#include <numeric>

#include "standin/failure.h"
#include "standin/output/terminal.h"

namespace standin {
namespace {

constexpr size_t GAP = 2;
constexpr size_t NARROWEST = 8;
constexpr size_t NARROW = 12;  // of other columns while the widest one has to be cut
constexpr wchar_t CUT_MARK = L'>';

size_t Width(std::wstring_view text) {
  size_t width = 0;
  for (const wchar_t character : text) width += static_cast<size_t>(std::max(0, wcwidth(character)));
  return width;
}

/// As much of the text, from its start or from its end on, as fits into `width`.
std::wstring_view Part(std::wstring_view text, size_t width, bool fromEnd = false) {
  while (Width(text) > width) fromEnd ? text.remove_prefix(1) : text.remove_suffix(1);
  return text;
}

/// At most `width` columns of the text, with a mark for what is missing: at the end, or in the middle.
std::wstring Cut(const std::wstring& text, size_t width, bool keepEnd = false) {
  if (Width(text) <= width) return text;
  const size_t tail = keepEnd ? width * 3 / 5 : 0;
  std::wstring cut(Part(text, width - tail - 1));
  cut += CUT_MARK;
  return cut.append(Part(text, tail, true));
}

/// What stands in a column of a row: null where there is nothing.
const nlohmann::ordered_json& Field(const Column& column, const Row& row) {
  static const nlohmann::ordered_json nothing;
  auto field = column.stead == nullptr ? row.fields.end() : row.fields.find(column.stead);
  if (field == row.fields.end()) field = row.fields.find(column.name);
  return field == row.fields.end() ? nothing : *field;
}

std::wstring CellText(const nlohmann::ordered_json& field) {
  if (field.is_null()) return L"";
  if (field.is_string()) return FromUTF8(field.get_ref<const std::string&>());
  if (!field.is_array()) return FromUTF8(field.dump());
  std::wstring text;
  for (const auto& number : field) text += (text.empty() ? L"" : L" ") + FromUTF8(number.dump());
  return text;
}

/// A column of a table as it is shown.
struct Cells {
  std::wstring name;
  bool keepsEnd;
  std::vector<std::wstring> texts{};
  size_t width = 0;
  bool isNumeric = true;  ///< numbers stand below each other by their last digits

  bool AreSame() const {
    return texts.size() > 1 &&
           std::all_of(texts.begin(), texts.end(), [&](const auto& text) { return text == texts[0]; });
  }
  std::wstring Fit(const std::wstring& text) const {
    const std::wstring cell = Cut(text, width, keepsEnd);
    const std::wstring padding(width - Width(cell), L' ');
    return isNumeric ? padding + cell : cell + padding;
  }
};

Cells MakeCells(const Column& column, const std::vector<Row>& rows, bool onTerminal) {
  Cells cells{FromUTF8(column.name), column.keepsEnd};
  cells.width = Width(cells.name);
  for (const Row& row : rows) {
    const nlohmann::ordered_json& field = Field(column, row);
    if (!field.is_number() && !field.is_null()) cells.isNumeric = false;
    const std::wstring text = CellText(field);
    cells.texts.push_back(onTerminal ? Escape(text) : text);
    cells.width = std::max(cells.width, Width(cells.texts.back()));
  }
  return cells;
}

/// Makes the columns fit into `width`. Returns the line that names those which gave way, if any did.
std::wstring MakeFit(std::vector<Cells>& columns, size_t width) {
  const auto total = [&] {
    return std::accumulate(columns.begin(), columns.end(), GAP * (columns.size() - 1),
                           [](size_t sum, const Cells& cells) { return sum + cells.width; });
  };
  std::wstring gone;
  for (size_t i = columns.size(); i-- > 0 && total() > width;) {
    if (columns.size() == 1 || columns[i].keepsEnd || !columns[i].AreSame()) continue;
    const std::wstring& text = columns[i].texts.front();
    if (!text.empty()) gone += (gone.empty() ? L"all rows: " : L", ") + columns[i].name + L' ' + text;
    columns.erase(columns.begin() + static_cast<std::ptrdiff_t>(i));
  }
  const auto isNarrower = [](const Cells& one, const Cells& other) { return one.width < other.width; };
  const auto main = std::max_element(columns.begin(), columns.end(), isNarrower);
  for (size_t excess = total(); excess > width; --excess) {
    // The others first, as long as they are not narrow.
    auto widest = std::max_element(columns.begin(), columns.end(), [&](const Cells& one, const Cells& other) {
      return (&one == &*main ? 0 : one.width) < (&other == &*main ? 0 : other.width);
    });
    if (widest->width <= NARROW) widest = std::max_element(columns.begin(), columns.end(), isNarrower);
    if (widest->width <= NARROWEST) break;
    --widest->width;
  }
  return gone;
}

/// Prints an object a line, many at a time: a piece may travel to the reader as a message of its own, and wait for the
/// answer to the one before.
void ShowLines(const Table& table) {
  constexpr size_t PIECE = 65'536;
  std::string lines;
  for (const Row& row : table.rows) {
    lines += RenderObject(table.columns, row) + '\n';
    if (lines.size() < PIECE) continue;
    Print(lines);
    lines.clear();
  }
  Print(lines);
}

}  // namespace

void ChooseColumns(Table& table, const std::vector<std::string>& names) {
  std::vector<Column> chosen;
  for (const std::string& name : names) {
    const auto column =
        std::find_if(table.columns.begin(), table.columns.end(), [&](const Column& each) { return name == each.name; });
    if (column == table.columns.end()) {
      std::string line = "--columns: '";
      line.append(name).append("' is no column here; allowed are ");
      for (const Column& each : table.columns)
        line.append(&each == &table.columns.front() ? "" : ",").append(each.name);
      throw Failure(WRONG_ARGUMENTS, line);
    }
    chosen.push_back({column->name, true, true, column->keepsEnd, column->stead});
  }
  table.columns = chosen;
}

std::string RenderTable(const Table& table, size_t width) {
  std::vector<Cells> columns;
  for (const Column& column : table.columns) {
    if (column.isInTable) columns.push_back(MakeCells(column, table.rows, width != 0));
  }
  std::string text;
  if (width != 0) {
    const std::wstring gone = MakeFit(columns, width);
    if (!gone.empty()) text = ToLocale(Cut(gone, width)) + '\n';
  }
  const auto addLine = [&](auto cell) {
    std::wstring line;
    for (const Cells& cells : columns) {
      if (&cells != &columns.front()) line.append(GAP, L' ');
      line += cells.Fit(cell(cells));
    }
    line.erase(line.find_last_not_of(L' ') + 1);
    text += ToLocale(width == 0 ? line : Cut(line, width)) + '\n';
  };
  addLine([](const Cells& cells) { return cells.name; });
  for (size_t i = 0; i < table.rows.size(); ++i) addLine([i](const Cells& cells) { return cells.texts[i]; });
  return text;
}

std::string RenderLine(const std::vector<Column>& columns, const Row* row, std::vector<size_t>& widths,
                       bool onTerminal) {
  std::wstring line;
  widths.resize(columns.size());
  for (size_t i = 0; i < columns.size(); ++i) {
    if (!columns[i].isInTable) continue;
    std::wstring cell = row == nullptr ? FromUTF8(columns[i].name) : CellText(Field(columns[i], *row));
    if (onTerminal) cell = Escape(cell);
    widths[i] = std::max(widths[i], Width(cell));
    line += cell + std::wstring(widths[i] - Width(cell) + GAP, L' ');
  }
  line.erase(line.find_last_not_of(L' ') + 1);
  return ToLocale(line) + '\n';
}

std::string RenderCsv(const Table& table, bool onTerminal) {
  std::string text;
  const auto addLine = [&](auto cell) {
    bool isFirst = true;
    for (const Column& column : table.columns) {
      if (!column.isInTable) continue;
      const std::wstring wide = cell(column);
      const std::string narrow = ToLocale(onTerminal ? Escape(wide) : wide);
      if (!std::exchange(isFirst, false)) text += ',';
      if (narrow.find_first_of(",\"\r\n") == std::string::npos) {
        text += narrow;
        continue;
      }
      text += '"';
      for (const char character : narrow) text.append(character == '"' ? 2 : 1, character);
      text += '"';
    }
    text += "\r\n";
  };
  addLine([](const Column& column) { return FromUTF8(column.name); });
  for (const Row& row : table.rows) addLine([&](const Column& column) { return CellText(Field(column, row)); });
  return text;
}

std::string RenderObject(const std::vector<Column>& columns, const Row& row) {
  auto object = nlohmann::ordered_json::object();
  for (const Column& column : columns) {
    const auto field = row.fields.find(column.name);
    if (column.isInJson && field != row.fields.end()) object[column.name] = *field;
  }
  return object.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

std::string RenderJson(const Table& table) {
  std::string text = "[";
  for (const Row& row : table.rows) {
    text += text.size() == 1 ? "\n" : ",\n";
    text += RenderObject(table.columns, row);
  }
  return text + (table.rows.empty() ? "]\n" : "\n]\n");
}

void Show(const Table& table, const std::string& format) {
  if (format == "json") {
    Print(RenderJson(table));
  } else if (format == "jsonl") {
    ShowLines(table);
  } else if (format == "csv") {
    Print(RenderCsv(table, TerminalWidth() != 0));
  } else {
    Print(RenderTable(table, TerminalWidth()));
  }
}

}  // namespace standin
