/// The controller's log through its history: which entries the module asks for, what it keeps, what it reports.
#include <new>

#include "tests/support/sel.h"

namespace {

constexpr int64_t ALL = -1, REFUSED = -2;

struct Step {
  const char* log;         // as MakeChain takes it
  std::vector<int> asked;  // record IDs, after the one call for the count
  std::string kept;        // marks, oldest first
  std::string mismatch{};  // the numbers of the mismatch message, if there is one
  int64_t announced = ALL;
};

const struct {
  const char* name;
  std::vector<Step> steps;
} HISTORIES[] = {
    {"appended",
     {{"1a 2b 3c", {0, 2, 3}, "abc"},
      {"1a 2b 3c", {}, "abc"},
      {"1a 2b 3c 4d", {0, 3, 4}, "abcd"},
      {"1a 2b 3c 4d 70e 8f", {0, 4, 70, 8}, "abcdef"}}},
    {"a single entry that is followed", {{"1a", {0}, "a"}, {"1a 2b", {0, 0, 2}, "ab"}}},
    {"cleared", {{"1a 2b", {0, 2}, "ab"}, {"", {}, ""}, {"1x", {0}, "x"}}},
    {"rewritten", {{"1a 2b", {0, 2}, "ab"}, {"1x 2y 3z", {0, 0, 2, 3}, "xyz"}}},
    {"rewritten, told by the first ID alone", {{"1a 2b", {0, 2}, "ab"}, {"9a 2y 3z", {0, 0, 2, 3}, "ayz"}}},
    {"rewritten behind the first entry", {{"1a 2b", {0, 2}, "ab"}, {"1a 2y 3z", {0, 2, 3}, "abz"}}},
    {"full: every count alike", {{"1a 2b", {0, 2}, "ab"}, {"2b 3c", {}, "ab"}, {"3c 4d", {}, "ab"}}},
    {"shrunken", {{"1a 2b 3c", {0, 2, 3}, "abc"}, {"1a 2b", {0, 0, 2}, "ab"}}},
    {"shrunken, no longer read", {{"1a 2b 3c", {0, 2, 3}, "abc"}, {"1a! 2b", {0, 0}, ""}}},
    {"announced too high",
     {{"1a 2b", {0, 2}, "ab", "cache 2 return count 5", 5},
      {"1a 2b", {0, 2}, "ab", "cache 2 return count 5", 5},
      {"1a 2b 3c", {0, 2, 3}, "abc", "cache 3 return count 5", 5},
      {"1a 2b 3c", {}, "abc"}}},
    {"announced beyond all memory", {{"1a 2b", {0, 2}, "ab", "cache 2 return count -1", 0xFFFFFFFF}}},
    {"announced too low",
     {{"1a 2b 3c", {0, 2}, "ab", "", 2}, {"1a 2b 3c", {0, 2, 3}, "abc"}, {"1a 2b 3c", {0, 0}, "a", "", 1}}},
    {"a circle", {{"1a 2b>1", {0, 2, 1, 2, 1}, "ababa", "", 5}, {"1a 2b>1", {0, 1, 2, 1}, "abababa", "", 7}}},
    {"an ID that repeats", {{"1a>1", {0, 1, 1}, "aaa", "", 3}, {"1a>1", {0, 1, 1}, "aaaa", "", 4}}},
    {"an entry whose own ID is 0", {{"0a", {0}, "a"}, {"0a", {0, 0}, "aa", "", 2}}},
    {"an entry that nobody has", {{"1a>5 2b", {0, 5}, "a"}, {"1a 5b", {0, 1, 5}, "ab"}}},
    {"reads that fail in the middle",
     {{"1a 2b! 3c", {0, 2}, "a"}, {"1a 2b 3c!", {0, 1, 2, 3}, "ab"}, {"1a 2b 3c", {0, 2, 3}, "abc"}}},
    {"a first read that fails", {{"1a! 2b", {0}, ""}, {"1a 2b", {0, 2}, "ab"}}},
    {"a first entry that cannot be compared", {{"1a 2b", {0, 2}, "ab"}, {"1a! 2b 3c", {0, 2, 3}, "abc"}}},
    {"a last entry that cannot be read again",
     {{"1a 2b>3", {0, 2}, "ab", "", 2},
      {"1a 2b! 3c", {0, 2}, "ab", "cache 2 return count 3"},
      {"1a 2b 3c", {0, 2, 3}, "abc"}}},
    {"refused counts",
     {{"1a", {}, "", "", REFUSED},
      {"1a 2b", {0, 2}, "ab"},
      {"1x 2y 3z", {}, "ab", "", REFUSED},
      {"1a 2b 3c", {0, 2, 3}, "abc"}}},
};

TEST_F(SELTest, Histories) {
  const std::string title = "2048 Dbg (kestrune:ReadBMCSELToCache): ";
  for (const auto& history : HISTORIES) {
    const HostModule& module = Start();
    for (const Step& step : history.steps) {
      SCOPED_TRACE(testing::Message() << history.name << ": " << step.log);
      Host().sel = MakeChain(step.log);
      Host().enumerate = step.announced == REFUSED ? 0 : 1;
      Host().selCount = step.announced < 0 ? Host().sel.size() : static_cast<uint32_t>(step.announced);
      Lines messages = NoFile();
      const std::string mismatch = "the cache data doesn't match the BMC SEL! " + step.mismatch + "\n";
      if (!step.mismatch.empty()) messages.insert(messages.begin(), title + mismatch);
      if (step.announced == REFUSED) messages.insert(messages.begin(), title + "Can't get the SEL count!\n");
      TakeCalls();
      const Reply reply = Fetch(module, Group(LOG_SEL), 8);
      EXPECT_EQ(TakeCalls(), WalkCalls(step.asked));
      EXPECT_EQ(reply.result, 1);
      EXPECT_EQ(reply.rows, PlainRows(1, 0, step.kept));
      EXPECT_EQ(reply.messages, Report("", messages));
    }
    EXPECT_EQ(module.SPUninitialize(), 1);  // which forgets the log
  }
}

TEST_F(SELTest, ACircleEndsWithTheRecordIDs) {
  const HostModule& module = Start();
  Host().sel = MakeChain("1a 2b>1");
  Host().selCount = 0xFFFFFFFF;
  for (const size_t entries : {65535, 2}) {  // the second time: the first and the last, to see what has changed
    const Reply reply = Query(module, Group(LOG_SEL));
    EXPECT_EQ(reply.count, 65535U);
    EXPECT_EQ(reply.messages.at(1),
              Dbg("ReadBMCSELToCache", "the cache data doesn't match the BMC SEL! cache 65535 return count -1"));
    EXPECT_EQ(TakeCalls().size(), 1 + entries);
  }
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

}  // namespace
