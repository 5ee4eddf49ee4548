/// What is said of records and sensor types, against lists of words in data/, and of every kind of record together.
#include <algorithm>

#include "sel/selfilter.h"
#include "tests/support/sel.h"
#include "translate/description.h"
#include "translate/resmgr.h"
#include "translate/sensor.h"
#include "translate/sensorid.h"

namespace {

/// A list, behind the comments at its start.
std::istringstream OpenList(const std::string& name) {
  std::istringstream list(machine::ReadFile(KESTRUNE_TEST_DATA + name));
  for (std::string comment; list.peek() == '#';) std::getline(list, comment);
  list >> std::hex;
  return list;
}

class RowsTest : public SELTest {
 protected:
  RowsTest() {
    g_aZARPIDMapping.Append({0x1A, 0x2001});
    Host().names[0x2001] = "Probe 7";
    EXPECT_EQ(InitResMgr(), 1);
    Host().convert = [](uint32_t, const tagVARIANT&, tagVARIANT* out) { out->value.llVal = 1234567; };
    Host().onCall = [](const std::string&) { TakeCalls(); };
  }
  ~RowsTest() override {
    UninitResMgr();
    g_aZARPIDMapping.Clear();
  }

  static SELRecord Record(int type, int event, int data1) { return MakeRecord(type, event, data1, 0xB7, 0xE5, 0x1A); }
  static std::string Describe(const SELRecord& record) {
    char text[256] = "";
    EXPECT_EQ(GetSELDiscription(&record, 255, text), text);
    return text;
  }
};

TEST_F(RowsTest, ListedRecords) {
  std::istringstream list = OpenList("seltexts.txt");
  std::string text;
  for (int type = 0, event = 0, data1 = 0; list >> type >> event >> data1;) {
    std::getline(list.ignore(), text);
    EXPECT_EQ(Describe(Record(type, event, data1)), text);
    EXPECT_EQ(Describe(Record(type, event | 0x80, data1)), text) << "the direction makes no difference";
  }
  const SELRecord fan = Record(4, 1, 0x40);
  char cut[] = "unterminated", name[] = "xxxx";
  EXPECT_STREQ(GetSELDiscription(&fan, 11, cut), "Probe 7 fand");
  EXPECT_STREQ(GetSensorName(&fan, 1, name), "Prxx");
  for (size_t size = 100; size < 160; ++size) {  // what follows the name is cut ever earlier
    const std::string longName(size, 'n'), whole = longName + " fan too slow: 1234567 RPM";
    Host().names[0x2001] = longName;
    EXPECT_EQ(Describe(fan), whole.substr(0, 159));
  }
  Host().names[0x2001] = "two\nlines";
  EXPECT_EQ(Describe(fan), "two\nlines fan too slow: 1234567 RPM") << "only a list has a blank there";
  TakeLines();
  EXPECT_EQ(SELLogFilter(nullptr, nullptr, nullptr, nullptr), 0U);
  EXPECT_EQ(TakeLines(), Lines{"256 Err (kestrune:SELLogFilter): Parameter error!\n"});
}

/// The texts of all records, sensor type by sensor type, event type by event type, event data 1 by event data 1, each
/// with a newline; "-" for a hex dump; one that repeats the text before it left out. The expected sum (FNV-1a) was made
/// from a list of the words by a program that does not know the module.
TEST_F(RowsTest, AllRecordsTogether) {
  uint64_t sum = 0xCBF29CE484222325;
  std::string last;
  for (int number = 0; number < 256 * 128 * 256; ++number) {
    const SELRecord record = Record(number >> 15, number >> 8 & 0x7F, number & 0xFF);
    std::string text = Describe(record);
    if (text.starts_with("Unspecified event!")) text = "-";
    if (text == last) continue;
    for (const char c : text + '\n') sum = (sum ^ static_cast<uint8_t>(c)) * 0x100000001B3;
    last = text;
  }
  EXPECT_EQ(sum, 0x11F18C34BE75D535U);
}

TEST_F(SELTest, EverySensorType) {
  std::string names[256];
  std::istringstream list = OpenList("sensortypes.txt");
  for (int type = 0; list >> type;) std::getline(list.ignore(), names[type]);
  EXPECT_EQ(std::count(std::begin(names), std::end(names), ""), 256 - 44);
  for (int type = 0; type < 256; ++type) {
    const SELRecord record = MakeRecord(type, 0, 0);
    char text[65] = "";
    EXPECT_STREQ(GetSensorName(&record, 64, text), names[type].empty() ? "N/A" : names[type].c_str());
  }
}

}  // namespace
