/// Every kind of record against the lists of words in data/: no row of the tables is missing there, and a row that is
/// not there is chosen for no record at all.
#include <algorithm>

#include "sel/selfilter.h"
#include "sel/sensorid.h"
#include "tests/support/sel.h"
#include "translate/description.h"
#include "translate/resmgr.h"
#include "translate/sensor.h"

namespace {

struct Listed {
  int type, event_mask, event, mask, value;
  std::string text;
};

/// A list, behind the comments at its start.
std::istringstream OpenList(const std::string& name) {
  std::istringstream list(machine::ReadFile(KESTRUNE_TEST_DATA + name));
  for (std::string comment; list.peek() == '#';) std::getline(list, comment);
  list >> std::hex;
  return list;
}

TEST_F(SELTest, EveryKindOfRecord) {
  std::vector<Listed> rows_of_type[256];
  size_t listed = 0;
  std::istringstream list = OpenList("seltexts.txt");
  for (Listed row; list >> row.type >> row.event_mask >> row.event >> row.mask >> row.value;) {
    std::getline(list.ignore(), row.text);
    rows_of_type[row.type].push_back(row);
    ++listed;
  }
  g_aZARPIDMapping = {{0x1A, 0x2001}};
  const machine::ScopedVariable names("RESMGR_NAMES", "2001=Probe 7");
  ASSERT_EQ(InitResMgr(), 1);
  Host().convert = [](uint32_t, const tagVARIANT&, tagVARIANT* out) { out->value.llVal = 1234567; };
  Host().on_call = [](const std::string&) { TakeCalls(); };
  std::set<const Listed*> reached;
  for (int type = 0; type < 256; ++type) {
    const auto& rows = rows_of_type[type];
    for (int event = 0; event < 256; ++event) {
      for (int data1 = 0; data1 < 256; data1 += rows.empty() || event > 127 ? 17 : 1) {
        const auto first = std::find_if(rows.begin(), rows.end(), [event, data1](const Listed& row) {
          return (event & row.event_mask) == row.event && (data1 & row.mask) == row.value;
        });
        const SELRecord record = MakeRecord(type, event, data1, 0xB7, 0xE5, 0x1A);
        char text[256] = "";
        ASSERT_EQ(GetSELDiscription(&record, 255, text), text);
        ASSERT_EQ(text, first == rows.end() ? HexDump(record) : first->text) << type << " " << event << " " << data1;
        if (first != rows.end()) reached.insert(&*first);
      }
    }
  }
  // All rows but those that stand behind others and those of an event type with bit 7.
  EXPECT_EQ(listed, 141U + 365 - 78 - 10);
  EXPECT_EQ(reached.size(), listed);
  const SELRecord fan = MakeRecord(4, 1, 0x40, 0, 0, 0x1A);
  char text[] = "unterminated", name[] = "xxxx";
  EXPECT_STREQ(GetSELDiscription(&fan, 11, text), "Probe 7 fand");
  EXPECT_STREQ(GetSensorName(&fan, 1, name), "Prxx");
  TakeLines();
  EXPECT_EQ(SELLogFilter(nullptr, nullptr, nullptr, nullptr), 0U);
  EXPECT_EQ(TakeLines(), Lines{"256 Err (kestrune:SELLogFilter): Parameter error!\n"});
  UninitResMgr();
  g_aZARPIDMapping.clear();
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
