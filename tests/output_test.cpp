/// What kestrune-host shows: the event log's records taken apart, all logs in one timeline, nothing raw on a terminal,
/// and the page that describes it.
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/ipmisim.h"
#include "tests/support/sel.h"

namespace {

/// What kestrune-host prints, with the controller's log and the sensors that a test has laid.
std::string Shown(const std::string& arguments, const std::string& before = "") {
  return OutputOf(before + " " + std::getenv("KESTRUNE_HOST") + " --sel /tmp/sel --sensors /tmp/sensors " + arguments);
}

class OutputTest : public SELTest {
 protected:
  OutputTest() { LaySensors("Plain"); }
  void TearDown() override {
    machine::Remove("/tmp/sel");
    machine::Remove("/tmp/sensors");
    machine::Remove("/tmp/run-errors");
    SELTest::TearDown();
  }
  void LaySensors(const std::string& name) {
    const nlohmann::json sensor = {{"number", 1}, {"hostId", 1}, {"name", name}, {"M", 1}};
    machine::WriteFile("/tmp/sensors", nlohmann::json{{"sensors", {sensor}}}.dump());
  }
  void LayRecords(const Records& records) {
    std::string raw;
    for (const SELRecord& record : records) raw.append(record.begin(), record.end());
    machine::WriteFile("/tmp/sel", raw);
  }
};

constexpr uint32_t A_TIME = 0x68A2E4E3;  // 2025-08-18 08:31:31 UTC

SELRecord OfType(uint8_t type) {
  SELRecord record = MakeRecord(1, 1, 2, 0, 0, 0, A_TIME);
  record[2] = type;
  return record;
}

/// The fields from timestamp to data, as the standard lays out records and names events.
TEST_F(OutputTest, RecordsTakenApart) {
  const std::string then = "2025-08-18T08:31:31Z|null|61216|",
                    noEvent = "null|null|null|null|null|null|null|null|null|";
  const struct {
    SELRecord record;
    std::string fields;
  } cases[] = {
      {MakeRecord(1, 0x01, 0x59, 80, 75, 1, A_TIME),
       then + "1|Temperature|1|1|asserted|critical|Upper Critical - going high|[89,80,75]|"},
      {MakeRecord(1, 0x81, 0x59, 70, 75, 1, 0x1FFFFFFF),
       "null|536870911|61216|1|Temperature|1|1|deasserted|information|Upper Critical - going high|[89,70,75]|"},
      {MakeRecord(4, 0x01, 0x54, 0, 0, 9, 0x20000000),
       "1987-01-05T18:48:32Z|null|61216|4|Fan|9|1|asserted|non-recoverable|Lower Non-recoverable - going "
       "low|[84,0,0]|"},
      {MakeRecord(2, 0x07, 0x01, 1, 2, 3, 0xFFFFFFFF),
       "null|null|61216|2|Voltage|3|7|asserted|non-critical|Transition to Non-Critical from OK|[1,1,2]|"},
      {MakeRecord(0x0C, 0x6F, 0xA1, 0xFF, 3, 0, A_TIME),
       then + "12|Memory|0|111|asserted|failure|Uncorrectable ECC / other uncorrectable memory error|[161,255,3]|"},
      {MakeRecord(0x0D, 0x6F, 1, 0, 0, 4, A_TIME),
       then + "13|Drive Slot (Bay)|4|111|asserted|failure|Drive Fault|[1,0,0]|"},
      {MakeRecord(0x08, 0x0B, 0, 0, 0, 4, A_TIME),
       then + "8|Power Supply|4|11|asserted|information|Fully Redundant|[0,0,0]|"},
      {MakeRecord(0x23, 0x6F, 8, 0, 0, 4, A_TIME),
       then + "35|Watchdog 2|4|111|asserted|failure|Timer interrupt|[8,0,0]|"},
      {MakeRecord(0x2C, 0x6F, 7, 0, 0, 4, A_TIME),
       then + "44|FRU State|4|111|asserted|failure|FRU Communication Lost|[7,0,0]|"},
      {MakeRecord(0xC0, 0x70, 15, 0, 0, 4, A_TIME), then + "192|null|4|112|asserted|information|null|[15,0,0]|"},
      {OfType(0xC0), "2025-08-18T08:31:31Z|null|" + noEvent},
      {OfType(0xE0), "null|null|" + noEvent},
  };
  Records records;
  for (const auto& c : cases) records.push_back(c.record);
  LayRecords(records);
  std::istringstream shown(Shown("show sel --reverse --format jsonl"));
  std::string line;
  for (const auto& c : cases) {
    ASSERT_TRUE(std::getline(shown, line));
    const auto object = nlohmann::ordered_json::parse(line);
    std::string fields;
    for (auto field = object.find("timestamp"); field != object.find("raw"); ++field) {
      fields += (field->is_string() ? field->get<std::string>() : field->dump()) + "|";
    }
    EXPECT_EQ(fields, c.fields);
    EXPECT_EQ(object["recordId"], 0x1234);
  }
  EXPECT_EQ(Shown("show sel --lines 12-12 --columns raw --format csv"), "raw\r\n341202E3E4A26820EF0401010159504B\r\n");
}

/// The archive's records count behind the controller's, and those of another format have a place but no line.
TEST_F(OutputTest, TheRecordBehindEachItem) {
  Records archive = PlainRecords("abc"), records = PlainRecords("xy");
  for (size_t i = 0; i < archive.size(); ++i) archive[i][0] = static_cast<uint8_t>(i);
  for (size_t i = 0; i < records.size(); ++i) records[i][0] = static_cast<uint8_t>(16 + i);
  archive[1][RECORD_FORMAT] = 3;
  LayRecords(records);
  machine::WriteFile(LOG_FILE, MakeLogFile(archive));
  const auto ids = [](const std::string& lines) {
    return Shown("show sel " + lines + " --columns recordId,source --format csv");
  };
  EXPECT_EQ(ids(""), "recordId,source\r\n4625,controller\r\n4624,controller\r\n4610,archive\r\n4608,archive\r\n");
  EXPECT_EQ(ids("--lines 2-4"), "recordId,source\r\n4624,controller\r\n4610,archive\r\n");
  EXPECT_EQ(ids("--lines 5-9"), "recordId,source\r\n4608,archive\r\n");
}

/// The names in the first column of the page's table under a heading, those in brackets apart.
std::vector<std::string> PageFields(const std::string& heading, bool inBrackets) {
  std::istringstream page(machine::ReadFile(KESTRUNE_OUTPUT_PAGE));
  std::vector<std::string> fields;
  std::string line;
  while (std::getline(page, line) && line != "## " + heading) {
  }
  while (std::getline(page, line) && line.rfind("##", 0) != 0) {
    const bool bracketed = line.rfind("| (`", 0) == 0;
    if (bracketed != inBrackets || (!bracketed && line.rfind("| `", 0) != 0)) continue;
    const size_t start = line.find('`') + 1;
    fields.push_back(line.substr(start, line.find('`', start) - start));
  }
  return fields;
}

std::vector<std::string> Keys(const std::string& line) {
  std::vector<std::string> keys;
  const auto object = nlohmann::ordered_json::parse(line);
  for (const auto& [key, value] : object.items()) keys.push_back(key);
  return keys;
}

TEST_F(OutputTest, ThePageNamesEveryField) {
  LayRecords({MakeRecord(1, 1, 0x59, 80, 75, 1, A_TIME)});
  machine::WriteFile("/var/log/messages", "Aug 18 10:00:00 h s: m\xC3\xA4\n");
  for (const auto& [log, heading] :
       {std::pair("sel", "Records of the event log"), {"messages", "Records of a text log"}}) {
    const auto fields = PageFields(heading, false);
    EXPECT_GE(fields.size(), 5U);
    EXPECT_EQ(Keys(Shown(std::string("show ") + log + " --format jsonl", "LC_ALL=C.UTF-8")), fields);
    for (const std::string& field : PageFields(heading, true)) {
      EXPECT_EQ(Shown(std::string("show ") + log + " --format csv --columns " + field).substr(0, field.size() + 2),
                field + "\r\n");
    }
  }
  EXPECT_NE(Shown("show messages --format json", "LC_ALL=C.UTF-8").find("\"m\\u00e4\""), std::string::npos);
}

TEST_F(OutputTest, OneTimeline) {
  // Written on January 2, 2025, at 03:04:05 UTC, so that what names a later time is of the year before.
  machine::WriteFile("/var/log/messages", "Dec 31 23:00:00 h s: last year\nJan  1 10:00:00 h s: this year\n");
  machine::SetTime("/var/log/messages", 1735787045);
  machine::WriteFile("/var/log/secure", "Feb 29 12:00:00 h s: leap\n");
  machine::SetTime("/var/log/secure", 1735787045);
  LayRecords({MakeRecord(0x0C, 0x6F, 0, 0, 0, 0, 1735689600),    // 2025-01-01 00:00:00 UTC
              MakeRecord(0x07, 0x6F, 7, 0, 0, 0, 60),            // before the clock was set
              MakeRecord(0x0C, 0x6F, 1, 0, 0, 0, 1735736400)});  // 13:00:00
  const auto words = [](const std::string& arguments, const std::string& zone = "UTC") {
    std::istringstream lines(Shown("show all --format jsonl " + arguments, "TZ=" + zone));
    std::string text;
    for (std::string line; std::getline(lines, line);) {
      const auto object = nlohmann::json::parse(line);
      const auto message = object.value("message", object.value("event", ""));
      text += message.substr(0, message.find(' ')) + " ";
    }
    return text;
  };
  const std::string all = "Uncorrectable Processor this Correctable last leap ";
  EXPECT_EQ(words(""), all);
  EXPECT_EQ(words("--reverse"), "leap last Correctable this Processor Uncorrectable ");
  EXPECT_EQ(words("--lines 2-3"), "Processor this ");
  EXPECT_EQ(words("--since 2025-01-01"), "Uncorrectable Processor this Correctable ");
  EXPECT_EQ(words("--until 2024-12-31"), "last leap ");
  EXPECT_EQ(words("--since 2024-12-31T23:00:00Z --until '2025-01-01 11:00+01:00'"), "this Correctable last ");
  EXPECT_EQ(words("--since 2025-01-01T00:00:01 --until 2025-01-01T10:00"), "this ");
  EXPECT_EQ(words("--since -1h"), "");
  EXPECT_EQ(words("--since -2000w --until today"), all);
  EXPECT_EQ(words("--sensor-type MEM --severity failure,critical"), "Uncorrectable ");
  EXPECT_EQ(words("--sensor-type 0x07,12"), "Uncorrectable Processor Correctable ");
  EXPECT_EQ(words("--severity non-critical"), "Correctable ");
  // Text logs have local time.
  EXPECT_EQ(words("", "XYZ-14"), "Uncorrectable Processor Correctable this last leap ");
  EXPECT_EQ(Shown("show all --format csv --lines 3-4 --columns log,timestamp,source,message", "TZ=XYZ-2"),
            "log,timestamp,source,message\r\n"
            "messages,2025-01-01T10:00:00+02:00,s,this year\r\n"
            "sel,2025-01-01T00:00:00Z,Memory,Correctable ECC\r\n");
}

/// What a command prints on a terminal of 80 columns.
std::string OnTerminal(const std::string& arguments) {
  machine::WriteFile("/tmp/run", "stty cols 80; " + std::string(std::getenv("KESTRUNE_HOST")) +
                                     " --sel /tmp/sel --sensors /tmp/sensors " + arguments);
  std::string output = OutputOf("LC_ALL=C.UTF-8 script -qec 'sh /tmp/run' /dev/null");
  machine::Remove("/tmp/run");
  return output;
}

TEST_F(OutputTest, NothingReachesATerminalRaw) {
  // NOLINTBEGIN(misc-misleading-bidirectional): they are what must not reach the terminal
  const std::string evil = "E\x1B[2J\x7F\xC2\x9B\xE2\x80\xAE\xE2\x81\xA6\xD8\x9C\xC3\xA9",
                    raw[] = {"\x1B", "\x7F", "\xC2\x9B", "\xE2\x80\xAE", "\xE2\x81\xA6", "\xD8\x9C"};
  // NOLINTEND(misc-misleading-bidirectional)
  LaySensors(evil);
  LayRecords({MakeRecord(1, 1, 0x59, 80, 75, 1, A_TIME)});
  for (const char* arguments : {"show sel", "show sel --format csv", "show sel --format json", "dump-sel"}) {
    const std::string output = OnTerminal(arguments);
    for (const std::string& bytes : raw) EXPECT_EQ(output.find(bytes), std::string::npos) << arguments << output;
    if (std::string(arguments).find("json") == std::string::npos && std::string(arguments) != "show sel") {
      EXPECT_NE(output.find("E\\x1B[2J\\x7F\\x9B\\u202E\\u2066\\u061C\xC3\xA9"), std::string::npos) << output;
    }
  }
  EXPECT_NE(Shown("dump-sel", "LC_ALL=C.UTF-8").find(evil), std::string::npos) << "to a file or pipe as it is";
}

TEST_F(OutputTest, ATableThatDoesNotFitKeepsTheReading) {
  LaySensors("A sensor with a name of some length");
  LayRecords({MakeRecord(1, 0x01, 0x59, 80, 75, 1, A_TIME), MakeRecord(4, 0x83, 0, 0, 0, 2, A_TIME + 86401)});
  std::istringstream lines(OnTerminal("show sel"));
  const std::string starts[] = {"all rows: source controller", "date    time      sensor", "Aug 19  08:31:32  Fan ",
                                "Aug 18  08:31:31  A sensor wi>"},
                    ends[] = {"", "direction", "  deasserted", ": 80 degrees C  asserted"};
  std::string line;
  for (size_t i = 0; i < std::size(starts); ++i) {
    ASSERT_TRUE(std::getline(lines, line));
    line.erase(line.find_last_not_of('\r') + 1);
    EXPECT_TRUE(line.starts_with(starts[i]) && line.ends_with(ends[i]) && line.size() <= 80) << line;
  }
}

}  // namespace
