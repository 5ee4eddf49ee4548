#include "standin/follow/recordstream.h"

#include <utility>

#include "standin/output/terminal.h"

namespace standin {

RecordStream::RecordStream(std::vector<Column> columns, std::string format)
    : columns_(std::move(columns)), format_(std::move(format)), onTerminal_(TerminalWidth() != 0) {
  if (format_ == "csv") Print(RenderCsv({columns_, {}}, onTerminal_));
  if (format_ == "table") Print(RenderLine(columns_, nullptr, widths_, onTerminal_));
}

void RecordStream::Write(const Row& row) {
  if (format_ == "jsonl") {
    Print(RenderObject(columns_, row) + '\n');
  } else if (format_ == "csv") {
    const std::string text = RenderCsv({columns_, {row}}, onTerminal_);
    Print(std::string_view(text).substr(text.find("\r\n") + 2));  // without the names
  } else {
    Print(RenderLine(columns_, &row, widths_, onTerminal_));
  }
}

}  // namespace standin
