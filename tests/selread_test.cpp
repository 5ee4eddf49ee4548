/// Reading the SEL: which entries of the controller's log the module asks for and keeps, when the SEL log file counts,
/// the ranges over both, and the dump.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <new>
#include <optional>
#include <utility>

#include "standin/host/recordkeeper.h"
#include "tests/support/sel.h"

namespace {

constexpr int64_t ALL = -1, REFUSED = -2;
const std::string MISMATCH = "the cache data doesn't match the BMC SEL! ", COUNT_FAULT = "Can't get the SEL count!";

struct Step {
  const char* log;         // as MakeChain takes it
  std::vector<int> asked;  // record IDs, after the one call for the count
  std::string kept;        // marks, oldest first
  std::string fault{};     // the message, if there is one
  int64_t announced = ALL;
};

const struct {
  const char* name;
  std::vector<Step> steps;
} HISTORIES[] = {
    {"appended",
     {{"1a 2b 3c", {0, 2, 3}, "abc"}, {"1a 2b 3c", {}, "abc"}, {"1a 2b 3c 70d 8e", {0, 3, 70, 8}, "abcde"}}},
    {"a single entry that is followed", {{"1a", {0}, "a"}, {"1a 2b", {0, 0, 2}, "ab"}}},
    {"cleared", {{"1a 2b", {0, 2}, "ab"}, {"", {}, ""}, {"1x", {0}, "x"}}},
    {"rewritten", {{"1a 2b", {0, 2}, "ab"}, {"1x 2y 3z", {0, 0, 2, 3}, "xyz"}}},
    {"rewritten, told by the first ID alone", {{"1a 2b", {0, 2}, "ab"}, {"9a 2y 3z", {0, 0, 2, 3}, "ayz"}}},
    {"rewritten after the first entry", {{"1a 2b", {0, 2}, "ab"}, {"1a 2y 3z", {0, 2, 3}, "abz"}}},
    {"full: every count alike", {{"1a 2b", {0, 2}, "ab"}, {"2b 3c", {}, "ab"}}},
    {"shrunken", {{"1a 2b 3c", {0, 2, 3}, "abc"}, {"1a 2b", {0, 0, 2}, "ab"}}},
    {"shrunken, no longer read", {{"1a 2b 3c", {0, 2, 3}, "abc"}, {"1a! 2b", {0, 0}, ""}}},
    {"announced too high",
     {{"1a 2b", {0, 2}, "ab", MISMATCH + "cache 2 return count 5", 5},
      {"1a 2b 3c", {0, 2, 3}, "abc", MISMATCH + "cache 3 return count 5", 5},
      {"1a 2b 3c", {}, "abc"}}},
    {"announced too low", {{"1a 2b 3c", {0, 2}, "ab", "", 2}, {"1a 2b 3c", {0, 2, 3}, "abc"}}},
    {"a circle", {{"1a 2b>1", {0, 2, 1, 2, 1}, "ababa", "", 5}, {"1a 2b>1", {0, 1, 2, 1}, "abababa", "", 7}}},
    {"an entry whose own ID is 0", {{"0a", {0}, "a"}, {"0a", {0, 0}, "aa", "", 2}}},
    {"reads that fail in the middle", {{"1a 2b! 3c", {0, 2}, "a"}, {"1a 2b 3c", {0, 1, 2, 3}, "abc"}}},
    {"a first read that fails", {{"1a! 2b", {0}, ""}, {"1a 2b", {0, 2}, "ab"}}},
    {"a first entry that cannot be compared", {{"1a 2b", {0, 2}, "ab"}, {"1a! 2b 3c", {0, 2, 3}, "abc"}}},
    {"a last entry that cannot be read again",
     {{"1a 2b>3", {0, 2}, "ab", "", 2}, {"1a 2b! 3c", {0, 2}, "ab", MISMATCH + "cache 2 return count 3"}}},
    {"refused counts",
     {{"1a", {}, "", COUNT_FAULT, REFUSED}, {"1a", {0}, "a"}, {"1x 2y", {}, "a", COUNT_FAULT, REFUSED}}},
};

TEST_F(SELTest, Histories) {
  for (const auto& history : HISTORIES) {
    const HostModule& module = Start();
    standin::Controller& controller = *std::exchange(Host().controller, nullptr);
    standin::RecordKeeper keeper(controller);
    Host().controller = &keeper;
    for (const Step& step : history.steps) {
      SCOPED_TRACE(testing::Message() << history.name << ": " << step.log);
      Host().sel = MakeChain(step.log);
      Host().enumerate = step.announced == REFUSED ? 0 : 1;
      Host().selCount = step.announced < 0 ? Host().sel.size() : static_cast<uint32_t>(step.announced);
      Lines messages = NoFile();
      if (!step.fault.empty()) messages.insert(messages.begin(), Dbg("ReadBMCSELToCache", step.fault));
      TakeCalls();
      const Reply reply = Fetch(module, Group(LOG_SEL), 8);
      EXPECT_EQ(TakeCalls(), WalkCalls(step.asked));
      EXPECT_EQ(reply.rows, PlainRows(1, 0, step.kept));
      EXPECT_EQ(reply.messages, Report("", messages));
      // The host's copy is in the cache's order. An entry 0 cannot be told from the question for the first one.
      const Records kept = PlainRecords({step.kept.rbegin(), step.kept.rend()});
      EXPECT_TRUE(keeper.NewestFirst() == kept || step.kept == "aa") << testing::PrintToString(keeper.NewestFirst());
    }
    EXPECT_EQ(module.SPUninitialize(), 1);  // which forgets the log
    Host().controller = &controller;
  }
}

TEST_F(SELTest, ACircleEndsWithTheRecordIDs) {
  Host().sel = MakeChain("1a 2b>1");
  Host().selCount = 0xFFFFFFFF;
  EXPECT_EQ(Query(Start(), Group(LOG_SEL)).count, 65535U);
  EXPECT_EQ(Query(Load(), Group(LOG_SEL)).count, 65535U);
}

TEST_F(SELTest, MemoryThatRunsOutLosesAndDoublesNothing) {
  const HostModule& module = Start();
  for (const char* log : {"1a 2b 3c 4d", "1w 2x 3y 4z"}) {
    Host().sel = MakeChain(log);
    Host().onCall = [](const std::string& call) {
      if (call == "gmGetIPMIEntry 3") throw std::bad_alloc();
    };
    EXPECT_EQ(Fetch(module, Group(LOG_SEL), 8).Head(), (std::array<uint32_t, 4>{1, 0, 0, 0})) << "like an empty log";
    Host().onCall = nullptr;
  }
  EXPECT_EQ(Fetch(module, Group(LOG_SEL), 8).rows, PlainRows(1, 0, "wxyz"));
}

const std::string VICTIM = "/tmp/victim";

TEST_F(SELTest, EveryCheckOfTheFile) {
  const std::string copy = SeedCopy();
  const auto bad = [](const std::string& why) { return BadFile(Err("CheckSELLogFile", why)); };
  const Lines shortRead = bad("read \"" + copy + "\" failed!"), size = bad("fstat \"" + copy + "\" error!");
  const Lines checksum = bad("file \"" + copy + "\" CRC check failed");
  const std::string odd = Dbg("ReadSELLogFile", "Unknow SEL entry format, may have bug!");
  const Records three = PlainRecords("xyz");
  Records ends = three;
  ends[0][RECORD_FORMAT] = ends[2][RECORD_FORMAT] = 3;  // of another format
  const struct {
    const char* name;
    std::optional<std::string> content;
    Lines messages;
    std::string listed{};
  } cases[] = {
      {"missing", {}, NoFile()},
      {"folder", {}, NoFile()},
      {"FIFO", {}, NoFile()},
      {"link to /nothing", {}, NoFile()},
      {"link to /dev/zero", {}, NoFile()},
      {"link to /dev/null", {}, shortRead},
      {"empty", "", shortRead},
      {"short header", MakeLogFile({}).substr(0, 8), shortRead},
      {"checksum and size", MakeLogFile(three, 1, -1), checksum},
      {"size too large", MakeLogFile(three, 16), size},
      {"size negative", MakeLogFile(three, -57 - 57), size},
      {"no record", MakeLogFile({}), bad("File size invalid: 9")},
      {"half a record", MakeLogFile(three, -8).substr(0, 49), bad("File size invalid: 49")},
      {"good", MakeLogFile(three), {}, "xyz"},
      {"link", MakeLogFile(three), {}, "xyz"},
      {"oldest and newest of another format", MakeLogFile(ends), {odd, odd}, "y"},
  };
  Host().sel = MakeChain("1a");
  const HostModule& module = Start();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    machine::Plant(c.name, LOG_FILE, VICTIM);
    if (c.content) machine::WriteFile(LOG_FILE, *c.content);
    SeedCopy();
    const Reply reply = Fetch(module, Group(LOG_SEL), 4);
    EXPECT_EQ(reply.messages, Report("", c.messages));
    EXPECT_EQ(reply.rows, PlainRows(2, 1, c.listed, PlainRows(1, 0, "a")));
    EXPECT_EQ(access(copy.c_str(), F_OK), -1) << "the copy is left";
    machine::Remove(VICTIM);
  }
  EXPECT_EQ(QueryRange(module, Group(LOG_SEL), 2, 9).count, 3U) << "positions, not lines";
  EXPECT_EQ(FetchRange(module, Group(LOG_SEL), 2, 2, 1).Head(), (std::array<uint32_t, 4>{1, 0, 2, 2})) << "is skipped";
  machine::WriteFile(LOG_FILE, MakeLogFile(Records(4096, three[0])));
  EXPECT_EQ(Query(module, Group(LOG_SEL)).count, 4097U) << "more than 64 KiB";
}

TEST_F(SELTest, TheCopyIsPrivateWhateverStandsInItsPlace) {
  const std::string copy = SeedCopy();
  machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords("xyz")));
  const HostModule& module = Start();
  Host().onCall = [&copy](const std::string& call) {
    if (call != "gmSELEnumEntry") return;
    EXPECT_EQ(std::filesystem::status(copy).permissions(), std::filesystem::perms(0600));
  };
  for (const mode_t mask : {0U, 0777U}) {
    PlantAt(copy, [&] {
      SeedCopy();
      const mode_t before = umask(mask);
      EXPECT_EQ(Fetch(module, Group(LOG_SEL), 4).rows, PlainRows(1, 1, "xyz"));
      umask(before);
    });
  }
}

TEST_F(SELTest, TheCopyChangesWhileItIsUsed) {
  const std::string copy = SeedCopy();
  const auto unread = [](const std::string& why) {
    return Lines{why, Dbg("ReadSELData", "Try to read SEL log file failed!"),
                 Err("SELLogFilter", "Read SEL data error!")};
  };
  const struct {
    const char* call;  // the first is made before the copy is checked, the other between that and its being read
    std::function<void()> change;
    Lines messages;
    uint32_t count;
  } cases[] = {
      {"gmSELEnumEntry", [&copy] { std::filesystem::rename(VICTIM, copy); }, NoFile(), 1},
      {"gmSELEnumEntry", [&copy] { machine::Plant("FIFO", copy, VICTIM); }, NoFile(), 1},
      {"gmExitMutex", [&copy] { machine::Remove(copy); },
       unread(Dbg("ReadSELLogFile", "File " + copy + " doesn't exist!")), 0},
      {"gmExitMutex", [&copy] { truncate(copy.c_str(), 9 + 16 + 8); },
       unread(Err("ReadSELLogFile", "fread \"" + copy + "\" error")), 0},
  };
  machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords("xyz")));
  Host().sel = MakeSEL({MakeRecord(1, 1, 0x40, 0, 0, 0x1A)});  // whose reading takes the second call
  const HostModule& module = Start();
  for (const auto& c : cases) {
    machine::WriteFile(VICTIM, MakeLogFile(PlainRecords("x")));
    Host().onCall = [&c](const std::string& call) {
      if (call == c.call) c.change();
    };
    SeedCopy();
    const Reply reply = Fetch(module, Group(LOG_SEL), 4);
    EXPECT_EQ(reply.Head(), (std::array<uint32_t, 4>{1, c.count, 0, 0}));
    EXPECT_EQ(reply.messages, Report("", c.messages));
    machine::Remove(copy);
    machine::Remove(VICTIM);
  }
}

TEST_F(SELTest, Ranges) {
  const std::string wrong = "2048 Dbg (SELLogFilter): The log range is wrong!\n";
  const std::string outside = "2048 Dbg (SELLogFilter): Out of SEL log range!\n";
  const struct {
    const char *controller, *file;
    uint32_t begin, end;
    const char *fromController, *fromFile;  // what is listed, oldest first
    uint32_t endThen;
    Lines messages{};
  } cases[] = {
      {"abc", "xyz", 0, 0, "abc", "xyz", 6},
      {"abc", "xyz", 1, 1, "c", "", 1},
      {"abc", "xyz", 2, 3, "ab", "", 3},
      {"abc", "xyz", 0, 4, "abc", "z", 4},
      {"abc", "xyz", 2, 0xFFFFFFFF, "ab", "xyz", 6},
      {"abc", "xyz", 4, 4, "", "z", 4},
      {"abc", "xyz", 5, 9, "", "xy", 6},
      {"abc", "xyz", 7, 9, "", "", 9, {outside}},
      {"abc", "xyz", 2, 1, "", "", 1, {wrong}},
      {"", "xyz", 2, 2, "", "y", 2},
      {"", "xyz", 1, 0, "", "", 0, {wrong}},
      {"abc", "", 3, 4, "a", "", 3, NoFile()},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.begin << " to " << c.end << " of " << c.controller << " and " << c.file);
    Unload();
    Host().sel = MakeSEL(PlainRecords(c.controller));
    machine::Remove(LOG_FILE);
    if (*c.file != '\0') machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords(c.file)));
    const HostModule& module = Start();
    const std::string controller = c.fromController;
    const Rows rows = PlainRows(c.begin + controller.size(), 1, c.fromFile, PlainRows(c.begin, 0, controller));
    const std::array<uint32_t, 4> head{1, static_cast<uint32_t>(rows.size()), c.begin, c.endThen};
    SeedCopy();
    EXPECT_EQ(QueryRange(module, Group(LOG_SEL), c.begin, c.end).Head(), head);
    SeedCopy();
    const Reply reply = FetchRange(module, Group(LOG_SEL), c.begin, c.end, 6);
    EXPECT_EQ(reply.Head(), head);
    EXPECT_EQ(reply.rows, rows);
    EXPECT_EQ(reply.messages, Report("Ex", c.messages));
  }
  machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords("xyz")));
  machine::Commands commands;
  const std::string command = std::string("cp -f ") + LOG_FILE + " " + SeedCopy();
  EXPECT_EQ(FetchRange(Load(), Group(LOG_SEL), 2, 6, 4).messages.back(),
            Err("GetLogConfigItemEx", "Not enough buffer!"));
  EXPECT_EQ(commands.TakeCalls(), std::multiset<std::string>{command});
}

TEST_F(SELTest, ALogThatWasNotStartedAndANullRange) {
  machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords("xyz")));
  Host().initialize = 0;
  const HostModule& module = Start();
  EXPECT_EQ(FetchRange(module, Group(LOG_SEL), 1, 9, 9).Head(), (std::array<uint32_t, 4>{1, 0, 1, 9}));
  tagIDV identifier = Group(LOG_SEL);
  EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGITEMEX, &identifier, nullptr, nullptr), 0);
}

TEST_F(SELTest, TheDump) {
  const auto entry = [](const std::string& ids) {  // with the plain record a
    return "Get SEL data success!\nselid " + ids +
           " data:34 12 02 00 00 00 00 20 ef 04 00 00 00 00 00 00 \n"
           "Translate: Unspecified event! Hex dump : 34 12 02 00 00 00 00 20 EF 04 00 00 00 00 00 00\n";
  };
  const std::string fail = "Get SEL data fail!\n";
  std::string withoutEnd;
  for (int i = 0; i < 65535; ++i) withoutEnd += fail;
  const struct {
    const char* log;
    int announced;
    std::vector<int> asked;
    std::string printed;
  } cases[] = {
      {"1a", 0, {}, ""},
      {"1a 2a", -1, {0, 2}, entry("1 next id 2") + entry("2 next id 65535")},
      {"1a 2a>1", 3, {0, 2, 1}, entry("1 next id 2") + entry("2 next id 1") + entry("1 next id 2")},
      {"1a! 2a", -1, std::vector<int>(65535, 0), withoutEnd},
      {"1a 2a! 3a", 3, {0, 2, 2}, entry("1 next id 2") + fail + fail},
  };
  const HostModule& module = Start();
  const auto expectDump = [&module](const std::string& printed, const Lines& calls) {
    TakeCalls();
    testing::internal::CaptureStdout();
    module.ShowBMCSELLogDebug();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), printed);
    EXPECT_EQ(TakeCalls(), calls);
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.log);
    Host().sel = MakeChain(c.log);
    Host().selCount = static_cast<uint32_t>(c.announced);
    expectDump("Get SEL count = " + std::to_string(c.announced) + "\n" + c.printed, WalkCalls(c.asked));
  }
  EXPECT_EQ(Query(module, Group(LOG_SEL)).count, 1U);
  EXPECT_EQ(TakeCalls(), WalkCalls({0, 2})) << "the dump fills no cache";
  Host().onCall = [](const std::string& call) {
    if (call == "gmGetIPMIEntry 0") throw std::bad_alloc();
  };
  expectDump("Get SEL count = 3\n" + fail, WalkCalls({0}));
  TakeLines();
  Host().enumerate = 0;
  expectDump("Get SEL count failed!\n", WalkCalls({}));
  EXPECT_EQ(TakeLines(), Lines()) << "the host's log is left alone";
}

}  // namespace
