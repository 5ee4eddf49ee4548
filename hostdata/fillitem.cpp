#include "hostdata/fillitem.h"

#include <stdlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "frame/compat.h"
#include "platform/message.h"
#include "platform/privatefile.h"

namespace {

constexpr uint32_t LOG_ENTRY_COUNT = 5;

/// Columns of a text line.
constexpr size_t TEXT_DATE_END = 6;
constexpr size_t TEXT_TIME = 7;
constexpr size_t TEXT_TIME_END = 15;
constexpr size_t TEXT_HOST = 16;

/// Columns of a SEL line.
constexpr char SEL_SEPARATOR = '|';
constexpr size_t SEL_ORIGIN_END = 1;
constexpr size_t SEL_DATE = 2;
constexpr size_t SEL_DATE_END = 8;
constexpr size_t SEL_TIME = 9;
constexpr size_t SEL_TIME_END = 17;
constexpr size_t SEL_SENSOR = 18;

/// One line that is cut into NUL-terminated fields in place.
class Line {
 public:
  /// `text[length]` is the line's NUL.
  Line(char* text, size_t length) : text_(text), end_(text + length) {}

  /// The text from a column on, up to the next cut; empty behind the end of the line.
  char* From(size_t column) const { return column < Length() ? text_ + column : end_; }

  /// Ends the field before a column.
  void CutAt(size_t column) const { *From(column) = '\0'; }

  /// Cuts at the first `separator` from `start` on. Returns what stands behind it, or null when the line has none.
  char* CutAtFirst(char separator, char* start) const {
    auto* found = static_cast<char*>(memchr(start, separator, static_cast<size_t>(end_ - start)));
    if (found == nullptr) return nullptr;
    *found = '\0';
    return found + 1;
  }

  char* End() const { return end_; }
  size_t Length() const { return static_cast<size_t>(end_ - text_); }

 private:
  char* text_;
  char* end_;
};

/// Hands out the lines of a file one by one, in pieces of at most TEXT_LINE_MAX bytes.
class LineReader {
 public:
  explicit LineReader(const char* path) : file_(OpenForReading(path)) {
    // The reader has a buffer of its own.
    if (file_ != nullptr) setvbuf(file_.get(), nullptr, _IONBF, 0);
  }

  bool IsOpen() const { return file_ != nullptr; }

  /// The next bytes, up to TEXT_LINE_MAX or a newline, which is part of them; empty at the end of the file. Good until
  /// the next call.
  std::string_view Next() {
    if (filled_ - used_ < TEXT_LINE_MAX) Refill();
    const std::string_view rest(buffer_.data() + used_, std::min<size_t>(filled_ - used_, TEXT_LINE_MAX));
    const size_t newline = rest.find('\n');
    const std::string_view piece = newline == std::string_view::npos ? rest : rest.substr(0, newline + 1);
    used_ += piece.size();
    return piece;
  }

 private:
  void Refill() {
    memmove(buffer_.data(), buffer_.data() + used_, filled_ - used_);
    filled_ -= used_;
    used_ = 0;
    filled_ += fread(buffer_.data() + filled_, 1, buffer_.size() - filled_, file_.get());
  }

  File file_;
  std::array<char, 16384> buffer_;
  size_t used_ = 0;
  size_t filled_ = 0;
};

void StartItem(tagCONFIGITEM& item, uint32_t index, uint32_t id) {
  item = {index, id, LOG_ENTRY_COUNT, nullptr};
  item.pEntries = new tagCONFIGENTRY[LOG_ENTRY_COUNT];
}

void SetEntry(tagCONFIGENTRY& entry, uint32_t id, const char* text) {
  entry.dwEntryID = id;
  entry.dwAttributes = CE_ATTRIBUTE_READONLY;
  AssignString(entry.varValue, text);
}

void SetEntry(tagCONFIGENTRY& entry, uint32_t id, int64_t value) {
  entry.dwEntryID = id;
  entry.dwAttributes = CE_ATTRIBUTE_READONLY;
  AssignInteger(entry.varValue, value);
}

/// Cuts a text line into an item. A message counts only if it starts before column `last`.
void FillTextItem(tagCONFIGITEM& item, Line line, size_t last) {
  line.CutAt(TEXT_DATE_END);
  line.CutAt(TEXT_TIME_END);
  char* host = line.From(TEXT_HOST);
  char* source = line.CutAtFirst(' ', host);
  if (source == nullptr) source = line.End();
  char* message = line.CutAtFirst(':', source);
  if (message == nullptr) {
    message = source;
    source = line.End();
  } else {
    ++message;  // the blank behind the colon
  }
  const bool hasMessage = message < line.From(0) + last && message < line.End();
  SetEntry(item.pEntries[0], CE_DATE, line.From(0));
  SetEntry(item.pEntries[1], CE_TIME, line.From(TEXT_TIME));
  SetEntry(item.pEntries[2], CE_SOURCE, source);
  SetEntry(item.pEntries[3], CE_HOST, host);
  SetEntry(item.pEntries[4], CE_MESSAGE, hasMessage ? message : line.End());
}

/// Cuts a SEL line into an item.
void FillSELItem(tagCONFIGITEM& item, Line line) {
  const char* date = "";
  const char* time = "";
  const char* sensor = "";
  const char* description = "";
  int64_t origin = 0;
  if (line.Length() > SEL_ORIGIN_END && *line.From(SEL_ORIGIN_END) == SEL_SEPARATOR) {
    line.CutAt(SEL_ORIGIN_END);
    line.CutAt(SEL_DATE_END);
    line.CutAt(SEL_TIME_END);
    origin = strtol(line.From(0), nullptr, 10);
    date = line.From(SEL_DATE);
    time = line.From(SEL_TIME);
    sensor = line.From(SEL_SENSOR);
    const char* behindSensor = line.CutAtFirst(SEL_SEPARATOR, line.From(SEL_SENSOR));
    description = behindSensor != nullptr ? behindSensor : line.End();
  } else {
    Error("Err (%s:FillConfigItem): Log format error! %s\n", static_cast<const char*>(line.From(0)));
  }
  SetEntry(item.pEntries[0], CE_DATE, date);
  SetEntry(item.pEntries[1], CE_TIME, time);
  SetEntry(item.pEntries[2], CE_MESSAGE, description);
  SetEntry(item.pEntries[3], CE_SENSOR, sensor);
  SetEntry(item.pEntries[4], CE_ORIGIN, origin);
}

}  // namespace

int FillConfigItem(tagCONFIGITEM* items, uint32_t firstIndex, uint32_t id, uint32_t maxCount, const char* resultFile) {
  LineReader reader(resultFile);
  if (!reader.IsOpen()) {
    Error("Err (%s:FillConfigItem): Can't open tmp log file!\n");
    return 0;
  }
  std::array<char, TEXT_LINE_MAX + 1> text{};
  for (uint32_t i = 0; i < maxCount; ++i) {
    const std::string_view piece = reader.Next();
    if (piece.empty()) break;
    const bool isWhole = piece.back() == '\n';
    // A NUL byte ends the text of its line, not the line.
    const size_t length = std::min(piece.find('\0'), piece.size() - (isWhole ? 1 : 0));
    memcpy(text.data(), piece.data(), length);
    text.at(length) = '\0';
    if (!isWhole) reader.Next();
    StartItem(items[i], firstIndex + i, id);
    // A message of one character is taken for none; behind a cut line there was more, so there it is not asked.
    FillTextItem(items[i], Line(text.data(), length), isWhole && length > 0 ? length - 1 : TEXT_LINE_MAX + 1);
  }
  return 1;
}

int FillConfigItem(tagCONFIGITEM* items, uint32_t firstIndex, uint32_t id, uint32_t maxCount, char* selText) {
  char* line = selText;
  for (uint32_t i = 0; i < maxCount; ++i) {
    char* newline = strchr(line, '\n');
    if (newline == nullptr) break;
    *newline = '\0';
    StartItem(items[i], firstIndex + i, id);
    FillSELItem(items[i], Line(line, static_cast<size_t>(newline - line)));
    line = newline + 1;
  }
  return 1;
}
