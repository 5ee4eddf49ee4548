/// What no request reaches: the long call form, keywords of the filter, names that are too long, the bridge to a
/// resource manager that fails, and the exported values, strings and clocks.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/sysinfo.h>
#include <sys/time.h>

#include <chrono>
#include <clocale>
#include <csignal>
#include <cstring>
#include <memory>

#include "frame/dispatch.h"
#include "tests/support/model.h"
#include "textlog/logfilter.h"
#include "textlog/logmerger.h"
#include "translate/resmgr.h"

namespace {

using namespace std::string_literals;

const std::string LOG = "/var/log/some.log", LIBRARY = "/usr/zarp/lib/libresmgr.so";

class UnitTest : public ModuleTest {
 protected:
  void TearDown() override {
    CleanTmpFile();
    ModuleTest::TearDown();
  }
};

TEST_F(UnitTest, CallFormsOfTheDispatcher) {
  static std::string called;
  const ShortHandler brief = [](void*, void*, void* last) -> int32_t {
    called = std::string("short ") + static_cast<const char*>(last);
    return 5;
  };
  const LongHandler full = [](uint8_t op, const char* request, void*, void*, void* last) -> int32_t {
    called = "long " + std::to_string(op) + " " + request + " " + static_cast<const char*>(last);
    return 5;
  };
  tagSPHANDLER table[] = {{0x101, "A", {}, 2},
                          {2, "A", {brief}, 1},
                          {4, "B", {brief}, 0},
                          {4, "B", {}, 6},
                          {0x100, "C", {}, 2},
                          {1, "D", {brief}, 3},
                          {},
                          {1, "E", {brief}, 1}};
  for (const size_t row : {0U, 3U, 4U}) table[row].pfnHandler.longForm = full;
  const std::tuple<uint8_t, const char*, const char*> cases[] = {
      {1, "A", "long 1 A x"}, {3, "A", "long 3 A x"}, {2, "A", "short x"}, {4, "A", ""}, {4, "B", "long 4 B x"},
      {0xFF, "C", ""},        {1, "D", "short x"},    {1, "E", ""},        {1, "a", ""}, {1, nullptr, ""}};
  char last[] = "x";
  for (const auto& [op, request, expected] : cases) {
    called.clear();
    EXPECT_EQ(Dispatch(table, op, request, nullptr, nullptr, last), expected[0] == '\0' ? 0 : 5);
    EXPECT_EQ(called, expected);
  }
}

TEST_F(UnitTest, KeywordsSelectLines) {
  machine::WriteFile(LOG, "Feb  3 a: x one\nJan  9 b: y two\nJan 10 c: x three\nFeb  2 d: x four\nMar  1 e: y five\n");
  char x[] = "x", z[] = "z", result[RESULT_FILE_SIZE] = "";
  const struct {
    int sortFirst;
    uint64_t begin, end;  // 0: no range
    uint64_t count;
    std::string listed;
    std::pair<uint64_t, uint64_t> left;
  } cases[] = {{0, 0, 0, 3, "Feb 03 a: x one\nFeb 02 d: x four\nJan 10 c: x three\n", {0, 0}},
               {0, 1, 2, 2, "Feb 02 d: x four\nJan 10 c: x three\n", {2, 3}},  // the last lines of the file
               {1, 1, 2, 2, "Feb 03 a: x one\nFeb 02 d: x four\n", {2, 3}}};   // the newest
  for (const auto& c : cases) {
    uint64_t begin = c.begin, end = c.end;
    uint64_t* first = begin != 0 ? &begin : nullptr;  // half a range is none
    EXPECT_EQ(LogFilter(LOG.c_str(), x, nullptr, c.sortFirst, first, &end), c.count);
    EXPECT_EQ(LogFilter(LOG.c_str(), x, result, c.sortFirst, first, &end), c.count);
    EXPECT_EQ(machine::ReadFile(result), c.listed);
    EXPECT_EQ(std::pair(begin, end), c.left);
    machine::Remove(result);
    EXPECT_EQ(LogFilter(LOG.c_str(), z, result, c.sortFirst, nullptr, nullptr), 0U);
    EXPECT_STREQ(result, "");
    EXPECT_EQ(TakeLines(), Lines{Dbg("LogFilter", "empty file!")});
  }
}

TEST_F(UnitTest, WhatIsRefusedLeavesEverythingAlone) {
  const std::string folder = "/var/log/" + std::string(120, 'f') + "/", fits = folder + std::string(40, 'n');
  const std::string tooLong = folder + std::string(120, 'n'), target = "/var/log/merged";
  std::string longKeyword(256, 'k');
  for (const std::string& path : {LOG, fits, tooLong}) machine::WriteFile(path, MakeLog(2));
  EXPECT_EQ(LogFilter(fits.c_str(), nullptr, nullptr, 0, nullptr, nullptr), 2U);
  machine::WriteFile(fits, "");
  machine::Commands commands;
  const std::pair<const char*, char*> filters[] = {
      {nullptr, nullptr}, {tooLong.c_str(), nullptr}, {LOG.c_str(), longKeyword.data()}};
  for (const auto& [log, keyword] : filters) {
    char result[RESULT_FILE_SIZE] = "as it was";
    EXPECT_EQ(LogFilter(log, keyword, result, 1, nullptr, nullptr), 0U);
    EXPECT_STREQ(result, "as it was");
    EXPECT_EQ(TakeLines(), Lines{Err("LogFilter", "Parameter error!")});
  }
  const std::pair<std::string, std::string> merges[] = {
      {fits + " " + fits, target}, {folder + std::string(110, 'n'), target}, {LOG, folder + std::string(130, 't')}};
  for (auto [list, to] : merges) {
    const std::string before = list;
    EXPECT_EQ(LogMerger(list.data(), to.c_str()), 0);
    EXPECT_EQ(list, before);
  }
  EXPECT_EQ(commands.TakeCalls(), std::multiset<std::string>());
  EXPECT_EQ(LogFilter(fits.c_str(), nullptr, nullptr, 0, nullptr, nullptr), 2U) << "the cache is still that log's";
}

TEST_F(UnitTest, StringsOfTheResourceManager) {
  const std::string longName(70, 'n');
  Host().names = {{0x2001, "CPU0 Temp"}, {0x2004, longName}};
  const auto get = [](uint32_t type, uint32_t object, const char* fault) {
    Host().fault = fault;
    char untouched[] = "", *string = untouched;
    testing::internal::CaptureStdout();
    const int result = GetStringA({type, object, 0, 0}, &string);
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_EQ(string != untouched, result == 1);
    return result == 1 ? said + std::unique_ptr<char[]>(string).get() : said;
  };
  constexpr uint32_t NAME = GS_TYPE_SENSOR_NAME;
  const std::string none = "Debug: <KESTRUNE> Resource manager is inexistent.\n";
  const std::string noSize = "Debug: <KESTRUNE> Fail to get size of string.\n";
  EXPECT_EQ(get(NAME, 0x2001, ""), none);
  machine::InstallResourceManager();
  ASSERT_EQ(InitResMgr(), 1);
  const std::tuple<uint32_t, uint32_t, const char*, std::string> cases[] = {
      {NAME, 0x2001, "", "CPU0 Temp"},
      {NAME + 1, 0x2001, "", noSize},
      {NAME, 0x2001, "text", "Debug: <KESTRUNE> Fail to get string.\n"},
      {NAME, 0x2001, "empty", ""},
      {NAME, 0x2004, "full", longName}};
  for (const auto& [type, object, fault, answer] : cases) EXPECT_EQ(get(type, object, fault), answer) << fault;
  UninitResMgr();
  EXPECT_TRUE(g_hRscDll == nullptr && g_lpfnGetString == nullptr && g_lpfnGetStringW == nullptr);
  EXPECT_EQ(get(NAME, 0x2001, ""), none);
}

TEST_F(UnitTest, ResourceManagersThatDoNotStartOrStop) {
  const std::string start = "Dbg (InitResMgr): Start to init ResMgr!\n", end = "Dbg (InitResMgr): End initResMgr!\n";
  // The function that the library lacks (null: there is no library), what MgrInit answers; how the report begins, and
  // what the loader says in it.
  const std::tuple<const char*, int, std::string, std::string> cases[] = {
      {nullptr, 1, LIBRARY, "No such file"},
      {"MgrInit", 1, LIBRARY, "MgrInit\n"},
      {"", 0, start + "Err (InitResMgr): Failed to initialize ResMgr!\n", ""},
      {"GetStringA", 1, start + end + LIBRARY, "GetStringA\n"},
      {"GetStringW", 1, start + end + LIBRARY, "GetStringW\n"},
      {"MgrUninit", 1, start + end + LIBRARY, "MgrUninit\n"}};
  for (const auto& [omitted, manager, begin, error] : cases) {
    SCOPED_TRACE(error);
    Host().manager = manager;
    if (omitted != nullptr) machine::InstallResourceManager(omitted);
    const bool starts = error == "MgrUninit\n";
    testing::internal::CaptureStderr();
    EXPECT_EQ(InitResMgr(), starts ? 1 : 0);
    if (starts) UninitResMgr();
    const std::string report = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(report.starts_with(begin) && report.ends_with('\n')) << report;
    EXPECT_NE(report.find(error), std::string::npos) << report;
    EXPECT_EQ(Host().managerIsUp, starts) << "one that cannot be stopped stays";
    EXPECT_TRUE(starts == (g_lpfnGetString != nullptr) && starts == (g_lpfnGetStringW != nullptr));
    if (starts) dlclose(std::exchange(g_hRscDll, nullptr));
    EXPECT_EQ(g_hRscDll, nullptr);
    EXPECT_EQ(dlopen(LIBRARY.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still in the process";
  }
  g_lpfnGetString = nullptr;
  g_lpfnGetStringW = nullptr;
}

TEST_F(UnitTest, StringsFromWideAndMultibyteText) {
  EXPECT_EQ(SysAllocString(static_cast<const wchar_t*>(nullptr)), nullptr);
  EXPECT_EQ(SysAllocString(static_cast<const char*>(nullptr)), nullptr);
  for (const wchar_t* text : {L"", L"sensor \x20AC"}) {
    EXPECT_STREQ(std::unique_ptr<wchar_t[]>(SysAllocString(text)).get(), text);
  }
  std::setlocale(LC_ALL, "C.UTF-8");
  const std::string letters = "abcdefghijklmnopqrstuvwxyz";
  for (const size_t length : {0U, 1U, 7U, 8U, 9U, 15U, 16U, 17U, 25U}) {
    const std::string text = letters.substr(0, length);
    const std::wstring wide(text.begin(), text.end());
    const std::pair<std::string, std::wstring> cases[] = {
        {text, wide}, {"\xE2\x82\xAC" + text, L'\x20AC' + wide}, {text + "\xC3\xA9", wide + L'\xE9'}};
    for (const auto& [multibyte, result] : cases) {  // a zero follows the terminator
      const size_t size = result.size() + 2;
      delete[] std::wmemset(new wchar_t[size], L'?', size);  // what the string is made of is not zero by chance
      const std::unique_ptr<wchar_t[]> string(SysAllocString(multibyte.c_str()));
      EXPECT_EQ(std::wstring(string.get(), size), result + L"\0\0"s) << multibyte;
    }
  }
  EXPECT_STREQ(std::unique_ptr<wchar_t[]>(SysAllocString("good\xFF")).get(), L"");
  const std::string large =
      std::string(9000, 'x') + "\xC3\xA9";  // too large for a thread's cache, which counts as used
  const size_t before = mallinfo2().uordblks;
  EXPECT_EQ(std::unique_ptr<wchar_t[]>(SysAllocString(large.c_str()))[9000], L'\xE9');
  EXPECT_EQ(mallinfo2().uordblks, before) << "a string that is not ASCII leaks";
  std::setlocale(LC_ALL, "C");
}

TEST_F(UnitTest, VariantsOwnTheirStrings) {
  tagVARIANT source, target;
  for (const wchar_t* text : {L"text", static_cast<const wchar_t*>(nullptr)}) {
    std::memset(&source, 0x5A, sizeof(source));
    source.vt = VT_BSTR;
    BSTR string = source.value.bstrVal = SysAllocString(text);
    EXPECT_EQ(VariantCopy(&target, &source), 0);
    EXPECT_TRUE(text == nullptr || target.value.bstrVal != string);
    EXPECT_EQ(VariantClear(&source), 0);
    EXPECT_TRUE(source.vt == VT_EMPTY && source.value.bstrVal == nullptr);
    EXPECT_EQ(target.vt, VT_BSTR);
    EXPECT_STREQ(target.value.bstrVal, text);
    EXPECT_EQ(VariantClear(&target), 0);
  }
  std::memset(&source, 0x5A, sizeof(source));
  source.vt = VT_I4;
  EXPECT_EQ(VariantCopy(&target, &source), 0);
  EXPECT_EQ(std::memcmp(&target, &source, sizeof(target)), 0) << "all of it is taken over";
  EXPECT_EQ(VariantClear(&target), 0);
  EXPECT_TRUE(target.vt == VT_EMPTY && target.value.ullVal == source.value.ullVal) << "a number stays where it was";
}

TEST_F(UnitTest, MultibyteTextFromWide) {
  const std::tuple<const wchar_t*, uint32_t, std::string> cases[] = {// The bytes after what was written stay.
                                                                     {L"abc", 8, "abc\0####"s},
                                                                     {L"abc", 3, "abc#####"},
                                                                     {L"", 8, "\0#######"s},
                                                                     {nullptr, 0, "null\0###"s},
                                                                     {L"\x20AC", 8, "null\0###"s}};
  for (const auto& [source, limit, result] : cases) {
    std::string destination(8, '#');
    EXPECT_EQ(sprintwcs(destination.data(), source, limit), destination.data());
    EXPECT_EQ(destination, result);
  }
}

TEST_F(UnitTest, TimeAndSleep) {
  struct sysinfo before {
  }, after{};
  sysinfo(&before);
  const auto ticks = static_cast<long>(GetTickCount());
  sysinfo(&after);
  EXPECT_TRUE(ticks == before.uptime * 1000 || ticks == after.uptime * 1000);

  std::signal(SIGALRM, [](int) {});
  const itimerval often{{0, 20000}, {0, 20000}}, never{};
  setitimer(ITIMER_REAL, &often, nullptr);
  const auto start = std::chrono::steady_clock::now();
  ::Sleep(1100);
  const auto slept = std::chrono::steady_clock::now() - start;
  setitimer(ITIMER_REAL, &never, nullptr);
  std::signal(SIGALRM, SIG_DFL);
  EXPECT_GE(slept, std::chrono::milliseconds(1100)) << "a signal shortens the sleep";
  EXPECT_LT(slept, std::chrono::milliseconds(2000));
}

}  // namespace
