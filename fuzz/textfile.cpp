/// textfile.cpp: a result file of any bytes becomes no more items than announced, in its order, each of one line.

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
    Require(items[count].dwIndex == first + count && items[count].dwID == LOG_AGENT, "items are numbered in order");
    const std::string line = rest.substr(0, std::min<size_t>(rest.find('\n'), TEXT_LINE_MAX));
    size_t told = 0;
    for (size_t i = 0; i < items[count].dwEntryCount; ++i) {
      const std::string text = Narrow(items[count].pEntries[i]);
      Require(line.find(text) != std::string::npos, "a text holds no byte that its line does not");
      told += text.size();
    }
    Require(told <= line.size(), "no byte of a line is told twice");
    // One read takes a line, or what fits of it; a second one then drops as much of the rest.
    for (int reads = line.size() == TEXT_LINE_MAX ? 2 : 1; reads > 0; --reads) {
      rest.erase(0, std::min<size_t>(rest.find('\n'), TEXT_LINE_MAX - 1) + 1);
    }
  }
  Require(items.CountFilled() == count, "there is an item for every line, up to the number announced");
}
