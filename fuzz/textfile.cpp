/// textfile.cpp: a result file of any bytes becomes no more items than announced, in its order, each of one line, its
/// texts the columns of the line.

#include "fuzz/host.h"
#include "hostdata/fillitem.h"
#include "textlog/textline.h"

void Fuzz(FuzzedDataProvider& input) {
  const auto announced = input.ConsumeIntegralInRange<uint32_t>(0, 40);
  const auto first = input.ConsumeIntegral<uint32_t>();
  std::string rest = input.ConsumeRemainingBytesAsString();
  HostItems items(announced);
  Require(FillConfigItem(items.data(), first, LOG_AGENT, announced, FileWith(rest)) == 1, "the file is read");

  uint32_t count = 0;
  for (; !rest.empty() && count < announced; ++count) {
    const size_t newline = rest.find('\n');
    const bool isWhole = newline < TEXT_LINE_MAX;
    const std::string line = rest.substr(0, std::min<size_t>(newline, TEXT_LINE_MAX)).c_str();
    const size_t source = std::min(line.find(' ', 16), line.size()) + 1;
    const size_t colon = line.find(':', source);
    size_t message = colon == std::string::npos ? source : colon + 2;
    if (isWhole && message + 1 == line.size()) ++message;  // a single character is taken for none
    const tagCONFIGITEM& item = items[count];
    Require(item.dwIndex == first + count && item.dwID == LOG_AGENT && item.dwEntryCount == 5, "items stand in order");
    RequireText(item.pEntries[0], CE_DATE, Columns(line, 0, 6));
    RequireText(item.pEntries[1], CE_TIME, Columns(line, 7, 15));
    RequireText(item.pEntries[2], CE_SOURCE, colon == std::string::npos ? "" : Columns(line, source, colon));
    RequireText(item.pEntries[3], CE_HOST, Columns(line, 16, source - 1));
    RequireText(item.pEntries[4], CE_MESSAGE, Columns(line, message));
    // One read takes a line, or what fits of it; a second one then drops as much of the rest.
    for (int reads = isWhole ? 1 : 2; reads > 0; --reads) {
      rest.erase(0, std::min<size_t>(rest.find('\n'), TEXT_LINE_MAX - 1) + 1);
    }
  }
  Require(items.CountFilled() == count, "there is an item for every line, up to the number announced");
}
