/// The dump of the controller's log on standard output.
#include "tests/support/sel.h"

namespace {

TEST_F(SELTest, TheDumpWhole) {
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
      {"1a 2a 300a", 2, {0, 2}, entry("1 next id 2") + entry("2 next id 300")},
      {"1a>1", 2, {0, 1}, entry("1 next id 1") + entry("1 next id 1")},
      {"1a! 2a", 3, {0, 0, 0}, fail + fail + fail},
      {"1a! 2a", -1, std::vector<int>(65535, 0), withoutEnd},
      {"1a 2a! 3a", 3, {0, 2, 2}, entry("1 next id 2") + fail + fail},
  };
  Host().names[0x2001] = "CPU 0 Fan";
  const HostModule& module = Start();
  const auto expectDump = [&module](const std::string& printed, const Lines& calls) {
    TakeCalls();
    testing::internal::CaptureStdout();
    module.Find<decltype(&ShowBMCSELLogDebug)>("ShowBMCSELLogDebug")();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), printed);
    EXPECT_EQ(TakeCalls(), calls);
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.log);
    Host().sel = MakeChain(c.log);
    Host().selCount = static_cast<uint32_t>(c.announced);
    expectDump("Get SEL count = " + std::to_string(c.announced) + "\n" + c.printed, WalkCalls(c.asked));
  }
  Host().selCount.reset();
  Host().sel = MakeSEL({MakeRecord(4, 0x6F, 0), MakeRecord(0x1B, 8, 0, 0x19, 0xFF, 0x1A, 0x5F3759DF)});
  expectDump(
      "Get SEL count = 2\nGet SEL data success!\n"
      "selid 1 next id 2 data:34 12 02 00 00 00 00 20 ef 04 04 00 6f 00 00 00 \nTranslate: CPU Fan box error reported\n"
      "Get SEL data success!\n"
      "selid 2 next id 65535 data:34 12 02 df 59 37 5f 20 ef 04 1b 1a 08 00 19 ff \nTranslate: CPU 0 Fan connected\n",
      WalkCalls({0, 2}));
  EXPECT_EQ(Query(module, Group(LOG_SEL)).count, 2U);
  EXPECT_EQ(TakeCalls(), WalkCalls({0, 2})) << "the dump fills no cache";
  TakeLines();
  Host().enumerate = 0;
  expectDump("Get SEL count failed!\n", WalkCalls({}));
  EXPECT_EQ(TakeLines(), Lines()) << "the host's log is left alone";
}

}  // namespace
