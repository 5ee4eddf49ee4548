/// The SEL log file: when it counts, what of it is listed, and the ranges over the controller's records and its own.
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "tests/support/sel.h"

namespace {

const std::string kUnknown = "2048 Dbg (kestrune:ReadSELLogFile): Unknow SEL entry format, may have bug!\n";

TEST_F(SELTest, EveryCheckOfTheFile) {
  const std::string copy = SeedCopy();
  const Records three = PlainRecords("xyz");
  const std::string good = MakeLogFile(three);
  const auto failed = [](const std::string& what) {
    return NotUsed("256 Err (kestrune:CheckSELLogFile): " + what + "\n");
  };
  const auto odd = [&good](size_t first, size_t last) {  // with records of another format
    std::string file = good;
    for (size_t i = first; i <= last; ++i) file[9 + 16 * i + 9] = static_cast<char>(i * 100 + 3);
    return file;
  };
  const Lines short_read = failed("read \"" + copy + "\" failed!");
  const Lines checksum = failed("file \"" + copy + "\" CRC check failed");
  const Lines size = failed("fstat \"" + copy + "\" error!");
  const struct {
    const char* name;
    std::string content;
    Lines messages;
    std::string listed = "";
  } cases[] = {
      {"missing", "", Missing()},
      {"folder", "", Missing()},
      {"link to nothing", "", Missing()},
      {"empty", "", short_read},
      {"short header", good.substr(0, 8), short_read},
      {"checksum", MakeLogFile(three, 0, 1), checksum},
      {"checksum and size", MakeLogFile(three, 1, -1), checksum},
      {"checksum of a bare header", MakeLogFile({}, 0, 128), checksum},
      {"size too large", MakeLogFile(three, 16), size},
      {"size too small", MakeLogFile(three, -16), size},
      {"size negative", MakeLogFile(three, -57 - 57), size},
      {"size in the upper bytes", MakeLogFile(three, 1 << 24), size},
      {"cut off", good.substr(0, 50), size},
      {"9 bytes", MakeLogFile({}), failed("File size invalid: 9")},
      {"10 bytes", MakeLogFile({}, 1) + "?", failed("File size invalid: 10")},
      {"56 bytes", MakeLogFile(three, -1).substr(0, 56), failed("File size invalid: 56")},
      {"one record", MakeLogFile(PlainRecords("k")), {}, "k"},
      {"good", good, {}, "zyx"},
      {"oldest of another format", odd(0, 0), {kUnknown}, "zy"},
      {"second of another format", odd(1, 1), {kUnknown}, "zx"},
      {"newest of another format", odd(2, 2), {kUnknown}, "yx"},
      {"all of another format", odd(0, 2), {kUnknown, kUnknown, kUnknown}},
  };
  Host().sel = MakeChain("1a");
  const HostModule& module = Start();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const size_t kind = static_cast<size_t>(&c - cases);
    machine::Remove(kLogFile);
    if (kind == 1) machine::PlantFolder(kLogFile);
    if (kind == 2) machine::PlantLink(kLogFile, "/etc/zarp/none");
    if (kind > 2) machine::WriteFile(kLogFile, c.content);
    SeedCopy();
    const Reply reply = Fetch(module, Group(LOG_SEL), 8);
    EXPECT_EQ(reply.messages, Report("", c.messages));
    EXPECT_EQ(reply.rows, PlainRows(2, 1, c.listed, PlainRows(1, 0, "a")));
    EXPECT_EQ(access(copy.c_str(), F_OK), -1) << "the copy is left";
  }
}

TEST_F(SELTest, CopiesThatArePlantedOrVanish) {
  const std::string copy = SeedCopy(), victim = "/tmp/victim";
  machine::WriteFile(kLogFile, MakeLogFile(PlainRecords("xyz")));
  // The controller's one record has a reading, so that the host is called between the check and the reading of the
  // copy.
  Host().sel = MakeSEL({MakeRecord(1, 1, 0x40, 0, 0, 0x1A)});
  const struct {
    uint32_t count;
    std::function<void()> plant, meddle;  // before the request; after the check
    std::string message;
  } cases[] = {
      {4, [&] { machine::PlantLink(copy, victim); }, [] {}, ""},
      {1, [&] { machine::WriteFile(copy + "/file", ""); }, [] {}, ""},
      {0, [] {}, [&] { machine::Remove(copy); },
       "2048 Dbg (kestrune:ReadSELLogFile): File " + copy + " doesn't exist!\n"},
      {0, [] {}, [&] { EXPECT_EQ(truncate(copy.c_str(), 56), 0); },
       "256 Err (kestrune:ReadSELLogFile): fread \"" + copy + "\" error\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    machine::WriteFile(victim, "victim");
    c.plant();
    Host().on_call = [&c](const std::string& call) {
      if (call == "gmExitMutex") c.meddle();
    };
    Start();
    SeedCopy();
    const Reply reply = Fetch(Load(), Group(LOG_SEL), 4);
    EXPECT_EQ(reply.result, 1);
    EXPECT_EQ(reply.count, c.count);
    if (c.count == 0) {
      EXPECT_EQ(reply.messages,
                Report("", {c.message, "2048 Dbg (kestrune:ReadSELData): Try to read SEL log file failed!\n",
                            "256 Err (kestrune:SELLogFilter): Read SEL data error!\n"}));
    }
    EXPECT_EQ(machine::ReadFile(victim), "victim");
    EXPECT_EQ(access(copy.c_str(), F_OK), c.count == 1 ? 0 : -1);
    machine::Remove(victim);
    machine::Remove(copy);
  }
}

/// The records of `controller` and `file`, newest first, from position `begin` to `end`, against what the module says.
class SELRangeTest : public SELTest {
 protected:
  void Expect(const std::string& controller, const std::string& file, uint32_t begin, uint32_t end) {
    SCOPED_TRACE(testing::Message() << begin << " to " << end << " of " << controller << " and " << file);
    Lines messages = file.empty() ? Missing() : Lines();
    std::vector<Row> rows = PlainRows(1, 1, file, PlainRows(1, 0, controller));
    const auto last = static_cast<uint32_t>(rows.size());
    const uint32_t first = std::max(begin, 1U), wanted = begin == 0 && end == 0 ? last : end;
    const uint32_t new_end = begin > end || first > last ? wanted : std::min(wanted, last);
    if (begin > end) messages.push_back("2048 Dbg (SELLogFilter): The log range is wrong!\n");
    if (begin <= end && first > last) messages.push_back("2048 Dbg (SELLogFilter): Out of SEL log range!\n");
    rows.resize(begin > end ? 0 : std::min(wanted, last));
    rows.erase(rows.begin(), rows.begin() + std::min<ptrdiff_t>(first - 1, static_cast<ptrdiff_t>(rows.size())));
    for (uint32_t i = 0; i < rows.size(); ++i) rows[i].index = begin + i;
    for (const uint32_t capacity : {0, 6}) {
      SeedCopy();
      const Reply reply = Send(Load(), {SP_CONFIGITEMEX, Group(LOG_SEL), capacity, capacity != 0, begin, end});
      EXPECT_EQ(reply.result, 1);
      EXPECT_EQ(reply.count, rows.size());
      EXPECT_EQ(reply.begin, begin);
      EXPECT_EQ(reply.end, capacity != 0 && rows.empty() ? end : new_end);
      EXPECT_EQ(reply.messages, Report("Ex", messages));
      EXPECT_EQ(reply.rows, capacity != 0 ? rows : std::vector<Row>());
    }
  }
};

TEST_F(SELRangeTest, EverySplitOfCacheAndFile) {
  for (const std::string controller : {"", "a", "ba", "cba"}) {
    for (const std::string file : {"", "x", "yx", "zyx"}) {
      Unload();
      Host().sel = MakeSEL(PlainRecords({controller.rbegin(), controller.rend()}));
      machine::Remove(kLogFile);
      if (!file.empty()) machine::WriteFile(kLogFile, MakeLogFile(PlainRecords({file.rbegin(), file.rend()})));
      Start();
      const auto bounds = static_cast<uint32_t>(controller.size() + file.size() + 3);  // up to two past the list
      for (uint32_t i = 0; i < bounds * bounds; ++i) Expect(controller, file, i / bounds, i % bounds);
      Expect(controller, file, 0, 0xFFFFFFFF);
      Expect(controller, file, 0xFFFFFFFF, 0xFFFFFFFF);
      if (HasFailure()) return;
    }
  }
}

TEST_F(SELTest, CapacitiesAndSkippedRecords) {
  Records records = PlainRecords("wxyz");
  records[1][9] = 3;
  machine::WriteFile(kLogFile, MakeLogFile(records));
  Host().sel = MakeChain("1a>2 2b");
  const std::vector<Row> rows = PlainRows(3, 1, "zyw", PlainRows(2, 0, "a"));
  const HostModule& module = Start();
  machine::Commands commands;
  const std::string command = std::string("cp -f ") + kLogFile + " " + SeedCopy();
  EXPECT_EQ(QueryRange(module, Group(LOG_SEL), 2, 9).count, 5U) << "positions, not lines";
  EXPECT_EQ(commands.TakeCalls(), std::multiset<std::string>{command});
  for (uint32_t capacity = 1; capacity <= 5; ++capacity) {
    SCOPED_TRACE(capacity);
    const bool fits = capacity >= 4;
    const Reply reply = FetchRange(module, Group(LOG_SEL), 2, 9, capacity);
    EXPECT_EQ(reply.result, fits ? 1 : 0);
    EXPECT_EQ(reply.count, fits ? 4 : capacity);
    EXPECT_EQ(reply.end, fits ? 6U : 9U);
    EXPECT_EQ(reply.rows, fits ? rows : std::vector<Row>());
    EXPECT_EQ(reply.messages.back() == kUnknown, fits);
    EXPECT_EQ(Fetch(module, Group(LOG_SEL), capacity).result, capacity == 5 ? 1 : 0);
  }
  EXPECT_EQ(FetchRange(module, Group(LOG_SEL), 5, 5, 1).count, 0U) << "only a record that is skipped";
}

}  // namespace
