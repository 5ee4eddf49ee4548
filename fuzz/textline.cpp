/// textline.cpp: one line of a text log becomes one item, its texts the columns of the line.

#include "textlog/textline.h"

#include "fuzz/host.h"
#include "hostdata/fillitem.h"

void Fuzz(FuzzedDataProvider& input) {
  std::string line = input.ConsumeRemainingBytesAsString();
  line = line.substr(0, line.find('\n'));
  HostItems items(1);
  Require(FillConfigItem(items.data(), 7, LOG_AGENT, 1, FileWith(line + '\n')) == 1, "the file is read");
  Require(items.CountFilled() == 1 && items[0].dwEntryCount == 5, "a line is an item of five entries");

  const bool isCut = line.size() >= TEXT_LINE_MAX;
  line = line.substr(0, TEXT_LINE_MAX).c_str();
  const size_t source = std::min(line.find(' ', 16), line.size()) + 1;
  const size_t colon = line.find(':', source);
  size_t message = colon == std::string::npos ? source : colon + 2;
  if (!isCut && message + 1 == line.size()) ++message;  // a single character is taken for none
  const tagCONFIGENTRY* entries = items[0].pEntries;
  RequireText(entries[0], CE_DATE, Columns(line, 0, 6));
  RequireText(entries[1], CE_TIME, Columns(line, 7, 15));
  RequireText(entries[2], CE_SOURCE, colon == std::string::npos ? "" : Columns(line, source, colon));
  RequireText(entries[3], CE_HOST, Columns(line, 16, source - 1));
  RequireText(entries[4], CE_MESSAGE, Columns(line, message));
}
