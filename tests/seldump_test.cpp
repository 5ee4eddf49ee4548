/// The dump of the controller's log on standard output.
#include "tests/support/sel.h"

namespace {

/// What the dump prints of an entry with the plain record a.
std::string Entry(const std::string& ids) {
  return "Get SEL data success!\nselid " + ids +
         " data:34 12 02 00 00 00 00 20 ef 04 00 00 00 00 00 00 \n"
         "Translate: Unspecified event! Hex dump : 34 12 02 00 00 00 00 20 EF 04 00 00 00 00 00 00\n";
}

TEST_F(SELTest, TheDumpWhole) {
  const std::string fail = "Get SEL data fail!\n";
  const struct {
    const char* log;
    int announced;
    std::vector<int> asked;
    std::string printed;
  } cases[] = {
      {"", 0, {}, ""},
      {"1a", 0, {}, ""},
      {"1a", 3, {0}, Entry("1 next id 65535")},
      {"1a>2 2a", -1, {0, 2}, Entry("1 next id 2") + Entry("2 next id 65535")},
      {"1a>2 2a>300 300a", 3, {0, 2, 300}, Entry("1 next id 2") + Entry("2 next id 300") + Entry("300 next id 65535")},
      {"1a>2 2a>3 3a", 2, {0, 2}, Entry("1 next id 2") + Entry("2 next id 3")},
      {"1a>1", 2, {0, 1}, Entry("1 next id 1") + Entry("1 next id 1")},
      {"1a!>2 2a", 3, {0, 0, 0}, fail + fail + fail},
      {"1a>2 2a!>3 3a", 3, {0, 2, 2}, Entry("1 next id 2") + fail + fail},
  };
  const machine::ScopedVariable names("RESMGR_NAMES", "2001=CPU 0 Fan");
  const HostModule& module = Start();
  const auto dump = [&module] {
    TakeCalls();
    testing::internal::CaptureStdout();
    module.Find<decltype(&ShowBMCSELLogDebug)>("ShowBMCSELLogDebug")();
    return testing::internal::GetCapturedStdout();
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.log);
    Host().sel = MakeChain(c.log);
    Host().sel_count = static_cast<uint32_t>(c.announced);
    EXPECT_EQ(dump(), "Get SEL count = " + std::to_string(c.announced) + "\n" + c.printed);
    EXPECT_EQ(TakeCalls(), WalkCalls(c.asked));
  }
  Host().sel_count.reset();
  Host().sel = MakeSEL({MakeRecord(4, 1, 0x52, 0x19, 0xFF, 0x1A, 0x5F3759DF)});
  EXPECT_EQ(dump(),
            "Get SEL count = 1\nGet SEL data success!\n"
            "selid 1 next id 65535 data:34 12 02 df 59 37 5f 20 ef 04 04 1a 01 52 19 ff \n"
            "Translate: CPU 0 Fan fan too slow: 0 RPM\n");
  Host().enumerate = 0;
  EXPECT_EQ(dump(), "Get SEL count failed!\n");
  EXPECT_EQ(TakeLines(), Lines()) << "the host's log is left alone";
  Host().enumerate = 1;
  TakeCalls();
  EXPECT_EQ(RecordCount(module, Group(LOG_SEL)), 1);
  EXPECT_EQ(TakeCalls(), WalkCalls({0})) << "the cache is left alone";
}

}  // namespace
