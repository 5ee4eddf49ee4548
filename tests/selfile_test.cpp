/// The SEL log file: when it counts, what of it is listed, and the ranges over the controller's records and its own.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "tests/support/sel.h"

namespace {

TEST_F(SELTest, EveryCheckOfTheFile) {
  const std::string copy = SeedCopy(), title = "256 Err (kestrune:CheckSELLogFile): ";
  const std::string odd = "2048 Dbg (kestrune:ReadSELLogFile): Unknow SEL entry format, may have bug!\n";
  const Lines shortRead = BadFile(title + "read \"" + copy + "\" failed!\n");
  const Lines checksum = BadFile(title + "file \"" + copy + "\" CRC check failed\n");
  const Lines size = BadFile(title + "fstat \"" + copy + "\" error!\n");
  const auto invalid = [&title](const char* shown) { return BadFile(title + "File size invalid: " + shown + "\n"); };
  const Records three = PlainRecords("xyz");
  const auto withOdd = [&three](const std::vector<size_t>& places) {
    Records records = three;
    for (const size_t place : places) records[place][9] = static_cast<uint8_t>(place * 100 + 3);
    return MakeLogFile(records);
  };
  const struct {
    const char* name;
    std::string content;
    Lines messages;
    std::string listed{};
  } cases[] = {
      {"missing", "", NoFile()},
      {"folder", "", NoFile()},
      {"link to nothing", "", NoFile()},
      {"endless device", "", NoFile()},
      {"FIFO", "", NoFile()},
      {"null device", "", shortRead},
      {"empty", "", shortRead},
      {"short header", MakeLogFile({}).substr(0, 8), shortRead},
      {"checksum", MakeLogFile(three, 0, 1), checksum},
      {"checksum and size", MakeLogFile(three, 1, -1), checksum},
      {"size too large", MakeLogFile(three, 16), size},
      {"size too small", MakeLogFile(three, -16), size},
      {"size negative", MakeLogFile(three, -57 - 57), size},
      {"cut off", MakeLogFile(three).substr(0, 50), size},
      {"9 bytes", MakeLogFile({}), invalid("9")},
      {"10 bytes", MakeLogFile({}, 1) + "?", invalid("10")},
      {"56 bytes", MakeLogFile(three, -1).substr(0, 56), invalid("56")},
      {"good", MakeLogFile(three), {}, "xyz"},
      {"link to a good one", MakeLogFile(three), {}, "xyz"},
      {"oldest of another format", withOdd({0}), {odd}, "yz"},
      {"second of another format", withOdd({1}), {odd}, "xz"},
      {"newest of another format", withOdd({2}), {odd}, "xy"},
      {"all of another format", withOdd({0, 1, 2}), {odd, odd, odd}},
  };
  Host().sel = MakeChain("1a");
  const HostModule& module = Start();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string name = c.name;
    machine::Remove(LOG_FILE);
    if (name == "folder") machine::PlantFolder(LOG_FILE);
    if (name == "endless device") machine::PlantLink(LOG_FILE, "/dev/zero");
    if (name == "null device") machine::PlantLink(LOG_FILE, "/dev/null");
    if (name == "FIFO") machine::PlantFIFO(LOG_FILE);
    if (name.substr(0, 4) == "link") machine::PlantLink(LOG_FILE, "/etc/zarp/elsewhere");
    if (c.messages != NoFile() && name != "null device") machine::WriteFile(LOG_FILE, c.content);
    SeedCopy();
    const Reply reply = Fetch(module, Group(LOG_SEL), 4);
    EXPECT_EQ(reply.messages, Report("", c.messages));
    EXPECT_EQ(reply.rows, PlainRows(2, 1, c.listed, PlainRows(1, 0, "a")));
    EXPECT_EQ(access(copy.c_str(), F_OK), -1) << "the copy is left";
  }
  EXPECT_EQ(QueryRange(module, Group(LOG_SEL), 2, 9).count, 3U) << "positions, not lines";
  const Reply reply = FetchRange(module, Group(LOG_SEL), 2, 9, 1);
  EXPECT_EQ(reply.result, 1);
  EXPECT_EQ(reply.count, 0U) << "every record is skipped";
}

TEST_F(SELTest, CopiesThatArePlantedOrVanish) {
  const std::string copy = SeedCopy(), victim = "/tmp/victim";
  machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords("xyz")));
  // The one record has a reading, so that the host is called between the check of the copy and its being read.
  Host().sel = MakeSEL({MakeRecord(1, 1, 0x40, 0, 0, 0x1A)});
  const HostModule& module = Start();
  const auto fetch = [&module] {
    SeedCopy();
    return Fetch(module, Group(LOG_SEL), 4);
  };
  const mode_t mask = umask(0);
  Host().onCall = [&copy](const std::string& call) {
    struct stat status {};
    if (call == "gmExitMutex" && stat(copy.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
      EXPECT_EQ(status.st_mode & 07777, 0600U);
    }
  };
  for (const std::string kind : {"link", "dangling link", "hard link", "FIFO", "stranger's file", "folder"}) {
    SCOPED_TRACE(kind);
    machine::WriteFile(victim, "victim");
    if (kind == "link") machine::PlantLink(copy, victim);
    if (kind == "dangling link") machine::PlantLink(copy, "/tmp/target");
    if (kind == "hard link") machine::PlantHardLink(copy, victim);
    if (kind == "FIFO") machine::PlantFIFO(copy);
    if (kind == "stranger's file") machine::PlantStrangersFile(copy);
    if (kind == "folder") machine::PlantFolder(copy);
    alarm(60);  // a request that waits at a FIFO ends the test
    EXPECT_EQ(fetch().count, 4U);
    alarm(0);
    EXPECT_EQ(machine::ReadFile(victim), "victim");
    EXPECT_EQ(machine::RemoveAside(copy), kind == "folder" ? 1 : 0);
    EXPECT_EQ(NewInTmp(), std::set<std::string>{"victim"});
    machine::Remove(victim);
    machine::Remove(copy);
  }
  umask(mask);
  for (const bool cut : {false, true}) {
    Host().onCall = [&copy, cut](const std::string& call) {
      if (call == "gmExitMutex") cut ? machine::WriteFile(copy, "short") : machine::Remove(copy);
    };
    const Reply reply = fetch();
    EXPECT_EQ(reply.result, 1);
    EXPECT_EQ(reply.count, 0U);
    const std::string why = cut ? "256 Err (kestrune:ReadSELLogFile): fread \"" + copy + "\" error\n"
                                : "2048 Dbg (kestrune:ReadSELLogFile): File " + copy + " doesn't exist!\n";
    EXPECT_EQ(reply.messages, Report("", {why, "2048 Dbg (kestrune:ReadSELData): Try to read SEL log file failed!\n",
                                          "256 Err (kestrune:SELLogFilter): Read SEL data error!\n"}));
  }
}

/// The controller's records and the file's, from position `begin` to `end`, against what the module says.
void ExpectRange(const HostModule& module, const std::string& controller, const std::string& file, uint32_t begin,
                 uint32_t end) {
  SCOPED_TRACE(testing::Message() << begin << " to " << end << " of " << controller << " and " << file);
  const std::vector<Row> all = PlainRows(1, 1, file, PlainRows(1, 0, controller));
  const auto last = static_cast<uint32_t>(all.size());
  const uint32_t first = std::max(begin, 1U), wanted = begin == 0 && end == 0 ? last : end;
  std::vector<Row> rows;
  for (uint32_t at = first; begin <= end && at <= std::min(wanted, last); ++at) {
    rows.push_back(all[at - 1]);
    rows.back().index = begin + at - first;
  }
  Lines messages = file.empty() ? NoFile() : Lines();
  if (begin > end) messages.push_back("2048 Dbg (SELLogFilter): The log range is wrong!\n");
  if (begin <= end && first > last) messages.push_back("2048 Dbg (SELLogFilter): Out of SEL log range!\n");
  for (const uint32_t capacity : {0U, 6U}) {
    SeedCopy();
    const Reply reply = Send(module, {SP_CONFIGITEMEX, Group(LOG_SEL), capacity, capacity != 0, begin, end});
    EXPECT_EQ(reply.result, 1);
    EXPECT_EQ(reply.count, rows.size());
    EXPECT_EQ(reply.begin, begin);
    EXPECT_EQ(reply.end, rows.empty() ? (capacity == 0 ? wanted : end) : std::min(wanted, last));
    EXPECT_EQ(reply.messages, Report("Ex", messages));
    EXPECT_EQ(reply.rows, capacity == 0 ? std::vector<Row>() : rows);
  }
}

TEST_F(SELTest, RangesOverEverySplit) {
  for (const std::string controller : {"", "a", "ab", "abc"}) {
    for (const std::string file : {"", "x", "xy", "xyz"}) {
      Unload();
      Host().sel = MakeSEL(PlainRecords(controller));
      machine::Remove(LOG_FILE);
      if (!file.empty()) machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords(file)));
      const HostModule& module = Start();
      const auto bounds = static_cast<uint32_t>(controller.size() + file.size() + 3);  // up to two past the list
      for (uint32_t i = 0; i < bounds * bounds; ++i) ExpectRange(module, controller, file, i / bounds, i % bounds);
      ExpectRange(module, controller, file, 0, 0xFFFFFFFF);
      if (HasFailure()) return;
    }
  }
  machine::Commands commands;
  const std::string command = std::string("cp -f ") + LOG_FILE + " " + SeedCopy();
  EXPECT_EQ(FetchRange(Load(), Group(LOG_SEL), 2, 6, 4).messages.back(),
            "256 Err (kestrune:GetLogConfigItemEx): Not enough buffer!\n");
  EXPECT_EQ(commands.TakeCalls(), std::multiset<std::string>{command});
  machine::Remove(LOG_FILE);
  SeedCopy();
  Query(Load(), Group(LOG_SEL));
  EXPECT_EQ(commands.TakeCalls(), std::multiset<std::string>{command}) << "in every call";
}

}  // namespace
