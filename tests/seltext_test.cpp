/// What a record reads like: its time, its sensor's name, its description.
#include <sys/resource.h>

#include <algorithm>

#include "sel/selfilter.h"
#include "tests/support/sel.h"
#include "translate/description.h"
#include "translate/resmgr.h"
#include "translate/sensor.h"
#include "translate/sensorid.h"

namespace {

const std::string MIDNIGHT = "Jan  1 00:00:00|";

class SELTextTest : public SELTest {
 protected:
  SELTextTest() { Host().names = {{0x2001, "Probe 7"}}; }

  /// A fresh module's lines of these records, in their order, without the origin. Checks that none is too long.
  Lines Translate(const Records& records) {
    Unload();
    Host().sel = MakeSEL(records);
    Lines lines;
    for (const Row& row : Fetch(Start(), Group(LOG_SEL), static_cast<uint32_t>(records.size())).rows) {
      lines.push_back(row.values[0] + " " + row.values[1] + "|" + row.values[3] + "|" + row.values[2]);
      EXPECT_LE(std::string("0|" + lines.back() + "\n").size(), 255U);
    }
    std::reverse(lines.begin(), lines.end());
    return lines;
  }
};

/// The texts of all records, sensor type by sensor type, event type by event type, event data 1 by event data 1, each
/// with a newline; "-" for a hex dump; one that repeats the text before it left out. Then the names of all sensor
/// types. The expected sum (FNV-1a) was made from a list of the words by a program that does not know the module.
TEST_F(SELTextTest, AllRecordsTogether) {
  g_aZARPIDMapping.Append({0x1A, 0x2001});
  ASSERT_EQ(InitResMgr(), 1);
  Host().convert = [](uint32_t, const tagVARIANT&, tagVARIANT* out) { out->value.llVal = 1234567; };
  Host().onCall = [](const std::string&) { TakeCalls(); };
  uint64_t sum = 0xCBF29CE484222325;
  const auto add = [&sum](const std::string& text) {
    for (const char c : text + '\n') sum = (sum ^ static_cast<uint8_t>(c)) * 0x100000001B3;
  };
  std::string last;
  for (int number = 0; number < 256 * 128 * 256; ++number) {
    const SELRecord record = MakeRecord(number >> 15, number >> 8 & 0x7F, number & 0xFF, 0xB7, 0xE5, 0x1A);
    char text[256] = "";
    GetSELDiscription(&record, 255, text);
    std::string description = std::string_view(text).starts_with("Unspecified event!") ? "-" : text;
    if (description == last) continue;
    add(description);
    last = description;
  }
  for (int type = 0; type < 256; ++type) {
    const SELRecord record = MakeRecord(type, 0, 0);
    char name[65] = "";
    add(GetSensorNameBySensorType(&record, 64, name));
  }
  EXPECT_EQ(sum, 0xED3E6D7CC238C7A3U);

  const SELRecord fan = MakeRecord(4, 1, 0x40, 0, 0, 0x1A), unknown = MakeRecord(4, 1, 0x40, 0, 0, 0x1B);
  char cut[] = "unterminated", name[] = "xxxx", typeName[] = "xxxx";
  EXPECT_STREQ(GetSELDiscription(&fan, 11, cut), "Probe 7 fand");
  EXPECT_STREQ(GetSensorName(&fan, 1, name), "Prxx");
  EXPECT_STREQ(GetSensorName(&unknown, 1, typeName), "Fxxx");
  EXPECT_EQ(SELLogFilter(nullptr, nullptr, nullptr, nullptr), 0U);
  UninitResMgr();
  g_aZARPIDMapping.Clear();
}

TEST_F(SELTextTest, TimesAndPlaceholders) {
  Host().convert = [](uint32_t, const tagVARIANT& in, tagVARIANT* out) { out->value.ullVal = in.value.ullVal * 3 + 1; };
  const machine::ScopedVariable variable("TZ", "EST5EDT,M3.2.0,M11.1.0");
  const struct {
    uint32_t time;
    int type, event, data1, data2, data3;
    std::string date, text;
  } cases[] = {
      {951782400, 0x04, 0x81, 0x52, 0xFF, 0, "Feb 29 00:00:00", "Probe 7 fan too slow: 766 RPM"},
      {1709251199, 0xD2, 7, 1, 0xC8, 0x64, "Feb 29 23:59:59", "Volume capacity 200 exceeded minor threshold 100"},
      {0x80000000, 0xD4, 0x6F, 2, 0x9C, 0xFE, "Jan 19 03:14:08", "Physical drive state changed, H/C/T 9/12/254"},
      {4107542400, 0x0D, 8, 1, 0, 0xAD, "Mar  1 00:00:00", "Hotswap cage 10 drive 13 inserted"},
      {0xFFFFFFFF, 0x0C, 0x6F, 4, 0, 0xFF, "Feb  7 06:28:15", "Multi-bit memory error in slot 127"},
      {86399, 0x1F, 0, 1, 0, 0, "Jan  1 23:59:59", "C: boot completed"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Translate({MakeRecord(c.type, c.event, c.data1, c.data2, c.data3, 0x1A, c.time)}),
              Lines{c.date + "|Probe 7|" + c.text});
  }
}

/// A record of a fan that is too slow, and its line.
SELRecord Fan(int sensor = 0x1A) { return MakeRecord(4, 1, 0x52, 9, 0, sensor); }
std::string FanLine(const std::string& column, const std::string& name, const std::string& reading = "0") {
  return MIDNIGHT + column + "|" + (name + " fan too slow: " + reading + " RPM").substr(0, 159);
}

TEST_F(SELTextTest, ReadingsAreTheHosts) {
  // What the host leaves in the value word, whatever type it gives, and how that reads.
  const std::pair<int64_t, const char*> answers[] = {
      {0, "0"}, {1234567890, "123456789"}, {-5, "429496729"}, {0xFFFB, "65531"}, {0x700000007, "7"}};
  for (const auto& [word, reading] : answers) {
    Host().convert = [word = word](uint32_t, const tagVARIANT& in, tagVARIANT* out) {
      EXPECT_EQ(in.vt, VT_I2);
      EXPECT_EQ(in.value.ullVal, 9U);
      EXPECT_EQ(out->vt, VT_I2);
      EXPECT_EQ(in.wReserved1[0] + out->wReserved1[0] + out->value.ullVal, 0U);
      out->vt = VT_ERROR;
      out->value.llVal = word;
    };
    // Nobody is asked about the second sensor, which the host does not know.
    EXPECT_EQ(Translate({Fan(), Fan(0x1B)}), (Lines{FanLine("Probe 7", "Probe 7", reading), FanLine("Fan", "Fan")}));
    Lines calls = WalkCalls({0, 2});
    calls.insert(calls.end(), {"gmEnterMutex", "gmExecSensorValue 8193", "gmExitMutex"});
    EXPECT_EQ(TakeCalls(), calls);
  }
}

TEST_F(SELTextTest, NamesOfEveryLengthAndShape) {
  struct Case {
    std::string name;    // empty: the host has none
    std::string column;  // how the sensor reads in its column...
    std::string text;    // ...and in the description
    const char* fault = "";
  };
  std::vector<Case> cases = {
      {"|A|B||", " A B  ", "|A|B||"},
      {"|di|%s%n", " di %s%n", "|di|%s%n"},
      {std::string(300, '\n'), std::string(65, ' '), std::string(300, ' ')},
      {"\n234567\n|012345\n", " 234567  012345 ", " 234567 |012345 "},
      {"", "Fan", "Fan"},
      {"Lost", "Fan", "Fan", "size"},
      {"Lost", "Fan", "Fan", "text"},
      {"Lost", "", "", "empty"},
      {"Endless", "Endless", "Endless", "full"},
      {"Said too short", "Said too sho", "Said too sho", "short"},
      {"Of two words", "Of two words", "Of two words", "long"},
  };
  for (const size_t size : {1U, 64U, 65U, 66U, 158U, 159U, 160U, 300U}) {
    cases.push_back({std::string(size, 'n'), std::string(std::min<size_t>(size, 65), 'n'), std::string(size, 'n')});
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Host().names.clear();
    if (!c.name.empty()) Host().names[0x2001] = c.name;
    Host().fault = c.fault;
    EXPECT_EQ(Translate({Fan()}), Lines{FanLine(c.column, c.text)});
  }
  // The last name is too long for a text that begins before it, too.
  EXPECT_EQ(Translate({MakeRecord(0x1C, 8, 0, 0, 0, 0x1A)}),
            Lines{MIDNIGHT + std::string(65, 'n') + "|Terminator: " + std::string(147, 'n')});
}

TEST_F(SELTextTest, ASizeThatIsFarTooLargeTakesNoMemory) {
  Host().getString = [](uint16_t, const standin::StringRequest&, char* buffer, uint32_t* size) {
    *size = 1U << 30;
    if (buffer != nullptr) std::string("Short").copy(buffer, 5);
    return 1;
  };
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  EXPECT_EQ(Translate({Fan()}), Lines{FanLine("Short", "Short")});
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 512 * 1024) << "KiB";
}

TEST_F(SELTextTest, EachStartReadsTheSensorTableAnew) {
  Host().names = {{0x2001, "One"}, {0x2002, "Two"}, {0xFFFFFFFF, "None"}};
  Host().sel = MakeSEL({Fan(0x1B), Fan()});
  Host().manager = 0;  // this start fails once it has the table
  for (const std::string table : {"1A;2001", "1B;FFFFFFFF;1A;2002;1A;2001", "1A;2001"}) {
    Host().mapping = table;
    Rows rows = Fetch(Start(), Group(LOG_SEL), 2).rows;
    ASSERT_EQ(rows.size(), Host().manager == 0 ? 0U : 2U);
    if (!rows.empty()) {
      EXPECT_EQ(rows[0].values[3], table == "1A;2001" ? "One" : "Two");
      EXPECT_EQ(rows[1].values[3], "Fan");
    }
    EXPECT_EQ(Load().SPUninitialize(), 1);
    Host().manager = 1;
  }
}

}  // namespace
