/// What a record reads like in a reply: its time, its sensor's name, its description.
#include <algorithm>
#include <ctime>

#include "tests/support/sel.h"

namespace {

const std::string MIDNIGHT = "Jan  1 00:00:00|";

class SELTextTest : public SELTest {
 protected:
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

TEST_F(SELTextTest, EveryNumberOfEachPlaceholder) {
  const struct {
    int type, event, data1;
    std::string line;  // with a letter for each number
  } cases[] = {
      {0xD2, 0x07, 0x01, "N/A|Volume capacity <A> exceeded minor threshold <D>"},
      {0xD4, 0x6F, 0x02, "N/A|Physical drive state changed, H/C/T <B>/<C>/<D>"},
      {0x0D, 0x08, 0x01, "Drive Slot(Bay)|Hotswap cage <E> drive <F> inserted"},
      {0x0C, 0x6F, 0x04, "Memory|Multi-bit memory error in slot <G>"},
  };
  for (const auto& c : cases) {
    Records records;
    Lines lines;
    for (int two = 0; two < 256; ++two) {
      const int three = (two * 7 + 3) % 256;
      records.push_back(MakeRecord(c.type, c.event, c.data1, two, three));
      lines.push_back(MIDNIGHT + c.line);
      char letter = 'A';
      for (const int number : {two, two / 16, two % 16, three, three / 16, three % 16, three % 128}) {
        const size_t place = lines.back().find({'<', letter++, '>'});
        if (place != std::string::npos) lines.back().replace(place, 3, std::to_string(number));
      }
    }
    EXPECT_EQ(Translate(records), lines);
  }
}

/// A record of a fan that is too slow, with its reading, and its line.
SELRecord Fan(int reading, int sensor = 0x1A) { return MakeRecord(4, 1, 0x52, reading, 0, sensor); }
std::string FanLine(const std::string& column, const std::string& name, const std::string& reading = "0") {
  return MIDNIGHT + column + "|" + (name + " fan too slow: " + reading + " RPM").substr(0, 159);
}

TEST_F(SELTextTest, ReadingsAreTheHosts) {
  Host().names = {{0x2001, "F"}};
  const auto rawReading = [](const tagVARIANT& in) { return static_cast<uint32_t>(in.value.ullVal); };
  Host().convert = [rawReading](uint32_t, const tagVARIANT& in, tagVARIANT* out) {
    EXPECT_EQ(in.vt, VT_I2);
    EXPECT_EQ(out->vt, VT_I2);
    EXPECT_EQ(in.wReserved1[0] + out->wReserved1[0] + rawReading(*out), 0U);
    out->value.ullVal = rawReading(in) * 3 + 1;
  };
  Records records = {Fan(77, 0x1B)};  // a sensor that the host does not know: nobody is asked
  Lines lines = {FanLine("Fan", "Fan")};
  for (int raw = 0; raw < 256; ++raw) {
    records.push_back(Fan(raw));
    lines.push_back(FanLine("F", "F", std::to_string(raw * 3 + 1)));
  }
  EXPECT_EQ(Translate(records), lines);

  // What the host leaves in the value word, whatever it says of its type, and how that reads.
  const std::pair<int64_t, const char*> answers[] = {
      {0, "0"},          {999999999, "999999999"}, {1234567890, "123456789"},
      {-5, "429496729"}, {0xFFFB, "65531"},        {0x700000007, "7"}};
  for (const auto& [word, reading] : answers) {
    Host().convert = [word = word](uint32_t, const tagVARIANT&, tagVARIANT* out) {
      out->vt = VT_ERROR;
      out->value.llVal = word;
    };
    EXPECT_EQ(Translate({Fan(9), Fan(9, 0x1B)}), (Lines{FanLine("F", "F", reading), FanLine("Fan", "Fan")}));
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
      {"A\n0|Jan  1 00:00:00|B|C", "A 0 Jan  1 00:00:00 B C", "A 0|Jan  1 00:00:00|B|C"},
      {std::string(300, '\n'), std::string(65, ' '), std::string(300, ' ')},
      {"", "Fan", "Fan"},
      {"Lost", "Fan", "Fan", "size"},
      {"Lost", "Fan", "Fan", "text"},
      {"Lost", "", "", "empty"},
      {"Endless", "Endless", "Endless", "full"},
      {"Short", "Short", "Short", "long"},
      {"Said too short", "Said too sho", "Said too sho", "short"},
      {"Of two words", "Of two words", "Of two words", "long"},
  };
  for (const size_t size : {1U, 64U, 65U, 66U, 158U, 159U, 160U, 254U, 255U, 256U, 300U}) {
    cases.push_back({std::string(size, 'n'), std::string(std::min<size_t>(size, 65), 'n'), std::string(size, 'n')});
  }
  for (size_t place = 0; place < 20; ++place) {
    std::string name(20, 'n'), clean = name;
    name[place] = '\n';
    clean[place] = ' ';
    cases.push_back({name, clean, clean});
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Host().names.clear();
    if (!c.name.empty()) Host().names[0x2001] = c.name;
    Host().fault = c.fault;
    EXPECT_EQ(Translate({Fan(0)}), Lines{FanLine(c.column, c.text)});
  }
  Host().mapping = "1B;FFFFFFFF;1A;2002;1A;2001";
  Host().names = {{0x2001, "One"}, {0x2002, "Two"}, {0xFFFFFFFF, "None"}};
  Host().fault.clear();
  EXPECT_EQ(Translate({Fan(0), Fan(0, 0x1B)}), (Lines{FanLine("Two", "Two"), FanLine("Fan", "Fan")}));
}

TEST_F(SELTextTest, TimesAreUniversalInEveryZone) {
  const std::pair<uint32_t, std::string> times[] = {{0, "Jan  1 00:00:00"},          {951782400, "Feb 29 00:00:00"},
                                                    {1709251199, "Feb 29 23:59:59"}, {0x7FFFFFFF, "Jan 19 03:14:07"},
                                                    {0x80000000, "Jan 19 03:14:08"}, {4107542399, "Feb 28 23:59:59"},
                                                    {4107542400, "Mar  1 00:00:00"}, {0xFFFFFFFF, "Feb  7 06:28:15"}};
  Records records;
  Lines lines;
  for (const auto& [time, text] : times) {
    records.push_back(MakeRecord(0x1F, 0, 1, 0, 0, 0, time));
    lines.push_back(text + "|OS Boot|C: boot completed");
  }
  for (const char* zone : {"UTC0", "EST5EDT,M3.2.0,M11.1.0", "<+1345>-13:45"}) {
    const machine::ScopedVariable variable("TZ", zone);
    tzset();
    EXPECT_EQ(Translate(records), lines) << zone;
  }
  tzset();
}

}  // namespace
