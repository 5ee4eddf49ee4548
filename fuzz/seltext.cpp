/// seltext.cpp: a text of SEL lines becomes one item for every whole line, its texts the columns of the line.

#include "fuzz/host.h"
#include "hostdata/fillitem.h"

void Fuzz(FuzzedDataProvider& input) {
  const auto announced = input.ConsumeIntegralInRange<uint32_t>(0, 40);
  const std::string text = input.ConsumeRemainingBytesAsString().c_str();
  std::vector<char> cut(text.c_str(), text.c_str() + text.size() + 1);
  HostItems items(announced);
  Require(FillConfigItem(items.data(), 1, LOG_SEL, announced, cut.data()) == 1, "a text can always be read");

  uint32_t count = 0;
  for (size_t at = 0, end; count < announced && (end = text.find('\n', at)) != std::string::npos;
       at = end + 1, ++count) {
    std::string line = text.substr(at, end - at);
    if (Columns(line, 1, 2) != "|") line.clear();  // all that is said of it is that it is there
    const size_t separator = std::min(line.find('|', 18), line.size());
    const tagCONFIGENTRY* entries = items[count].pEntries;
    RequireText(entries[0], CE_DATE, Columns(line, 2, 8));
    RequireText(entries[1], CE_TIME, Columns(line, 9, 17));
    RequireText(entries[2], CE_MESSAGE, Columns(line, separator + 1));
    RequireText(entries[3], CE_SENSOR, Columns(line, 18, separator));
    const int64_t origin = line[0] >= '0' && line[0] <= '9' ? line[0] - '0' : 0;
    Require(entries[4].varValue.value.llVal == origin && items[count].dwIndex == count + 1,
            "number and origin are right");
  }
  Require(items.CountFilled() == count, "there is an item for every whole line, up to the number announced");
}
