#include "standin/output/logform.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cwchar>
#include <fstream>
#include <vector>

#include "textlog/textline.h"

namespace standin {
namespace {

/// Where the newest lines begin. Counts all lines.
std::streamoff FindNewest(std::ifstream& file, uint64_t& lines) {
  std::vector<std::streamoff> begins(NEWEST_LINES);  // of the last lines, each in the place of one that is too old
  std::array<char, 65536> piece{};
  std::streamoff offset = 0;
  bool isNewLine = true;
  do {
    file.read(piece.data(), piece.size());
    const char* end = piece.data() + file.gcount();
    for (const char* at = piece.data(); at != end;) {
      if (isNewLine) begins[lines++ % NEWEST_LINES] = offset + (at - piece.data());
      const char* newline = std::find(at, end, '\n');
      isNewLine = newline != end;
      at = isNewLine ? newline + 1 : end;
    }
    offset += file.gcount();
  } while (file);
  return lines > NEWEST_LINES ? begins[lines % NEWEST_LINES] : 0;
}

/// Whether what modules look at is text; a NUL byte ends it.
bool IsText(const std::string& line) {
  const std::string looked = line.substr(0, TEXT_LINE_MAX);
  const char* text = looked.c_str();
  std::mbstate_t state{};
  return std::mbsrtowcs(nullptr, &text, 0, &state) != static_cast<size_t>(-1);
}

}  // namespace

bool IsTraditional(std::string_view line) {
  constexpr std::string_view MONTHS = "JanFebMarAprMayJunJulAugSepOctNovDec";
  constexpr std::string_view FORM = " _0 00:00:00 ";  // after the month; 0 is a digit, _ a digit or a blank
  if (line.size() <= TEXT_HOST || line[TEXT_HOST] == ' ') return false;
  const size_t month = MONTHS.find(line.substr(0, 3));
  const auto fits = [](char form, char found) {
    const bool isDigit = std::isdigit(static_cast<unsigned char>(found)) != 0;
    return form == '0' ? isDigit : form == '_' ? isDigit || found == ' ' : form == found;
  };
  return month != std::string_view::npos && month % 3 == 0 &&
         std::equal(FORM.begin(), FORM.end(), line.begin() + 3, fits);
}

void ExamineLog(const std::string& path, LogForm& form) {
  std::ifstream file(path, std::ios::binary);
  uint64_t lines = 0;
  const std::streamoff newest = FindNewest(file, lines);
  form.lines += lines;
  file.clear();
  file.seekg(newest);
  for (std::string line; std::getline(file, line);) {
    ++form.examined;
    if (!IsTraditional(line)) ++form.strange;
    if (!IsText(line)) ++form.noText;
  }
}

}  // namespace standin
