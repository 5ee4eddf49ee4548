/// sellogfile.cpp: a SEL log file of any bytes and a controller's records become the lines asked for, newest first.

#include "sel/sellogfile.h"

#include <unistd.h>

#include <fstream>
#include <numeric>

#include "fuzz/host.h"
#include "sel/selcache.h"
#include "sel/selfilter.h"
#include "sel/selline.h"

static std::string Line(char origin, const SELRecord& record) {
  char line[SEL_LINE_SIZE];
  FormatSELLine(&record, line);
  return std::string{origin, '|'} + line;
}

void Fuzz(FuzzedDataProvider& input) {
  const bool isMended = input.ConsumeBool(), isRange = input.ConsumeBool();
  auto begin = input.ConsumeIntegralInRange<uint64_t>(0, 12), end = input.ConsumeIntegralInRange<uint64_t>(0, 12);
  std::vector<std::string> list;
  for (uint16_t left = input.ConsumeIntegralInRange<uint16_t>(0, 4), id = 1; left > 0; --left, ++id) {
    tagSEL_DATA entry{id, left == 1 ? SEL_LAST_ENTRY : static_cast<uint16_t>(id + 1), {}};
    input.ConsumeData(entry.abyRecord.data(), entry.abyRecord.size());
    g_host.sel.push_back(entry);
    list.insert(list.begin(), Line('0', entry.abyRecord));
  }
  std::string file = input.ConsumeRemainingBytesAsString();
  const auto size = static_cast<uint32_t>(file.size());
  const auto sum = [&file](long bytes) { return std::accumulate(file.begin(), file.begin() + bytes, 0) & 0xFF; };
  if (isMended && size > 8) memcpy(&file[4], &size, 4);
  if (isMended && size > 8) file[8] = static_cast<char>(file[8] - sum(9));
  const size_t count = size > 9 && size % 16 == 9 && sum(9) == 0 && memcmp(&file[4], &size, 4) == 0 ? size / 16 : 0;
  TemporaryFile copy("/tmp/kestrune-fuzz", getpid());
  Require(copy.Make() && std::ofstream(copy.Path()) << file, "the input can be written to a file");
  Require(CheckSELLogFile(copy) == count, "a file is valid when header and size say so");
  const auto records = count == 0 ? nullptr : ReadSELLogFile(copy, 0, count);
  Require(count == 0 || memcmp(&file[9], records.get(), size - 9) == 0, "records are read as they stand");
  const bool isCopied = count != 0 && sum(size) % 8 == 7;
  // A copy takes a shell, and with it most of the time; a name that fits no command gets none.
  const std::string path = isCopied ? copy.Path() : std::string(SEL_LINE_SIZE, 'x');
  for (size_t i = isCopied ? count : 0; i-- > 0;) {
    list.push_back(records[i][RECORD_FORMAT] == RECORD_FORMAT_IPMI ? Line('1', records[i]) : "");
  }

  const size_t first = isRange ? std::max<size_t>(begin, 1) : 1;
  const size_t last = !isRange || (begin == 0 && end == 0) ? list.size() : begin > end ? 0 : std::min(end, list.size());
  std::string expected;
  for (size_t i = first; i <= last; ++i) expected += list[i - 1];
  char* text = nullptr;
  ClearSELDataCache();
  const uint64_t lines = SELLogFilter(path.c_str(), &text, isRange ? &begin : nullptr, &end);
  const std::unique_ptr<char[]> owned(text);
  Require((text != nullptr) == (first <= last), "a text is handed over where a record was asked for");
  Require((text == nullptr ? "" : text) == expected, "the lines are those of the records asked for, newest first");
  Require(std::cmp_equal(lines, std::ranges::count(expected, '\n')), "the lines are counted");
}
