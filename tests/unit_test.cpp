/// What no request reaches: the long call form, keywords of the filter, names that are too long, the text of
/// the sensor ID table, and the bridge to a resource manager that fails.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "frame/dispatch.h"
#include "tests/support/model.h"
#include "textlog/logfilter.h"
#include "textlog/logmerger.h"
#include "translate/resmgr.h"
#include "translate/sensorid.h"

namespace {

using Numbers = std::vector<uint64_t>;

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
  static int one, two, three;
  const auto brief = [](void* a, void* b, void* c) -> int32_t {
    called = "short";
    return a == &one && b == &two && c == &three ? 11 : -1;
  };
  const auto full = [](uint8_t op, const char* request, void* a, void* b, void* c) -> int32_t {
    called = "long " + std::to_string(op) + " " + request;
    return a == &one && b == &two && c == &three ? 22 : -1;
  };
  const auto row = [full](uint64_t mask, const char* name, uint64_t form) {
    tagSPHANDLER made{mask, name, {}, form};
    made.pfnHandler.longForm = full;
    return made;
  };
  tagSPHANDLER table[] = {row(0x101, "A", 2),
                          row(2, "A", 1),
                          row(4, "B", 0),
                          row(4, "B", 6),
                          row(0x100, "C", 2),
                          row(1, "D", 3),
                          {},
                          row(1, "E", 2),
                          {}};
  table[1].pfnHandler.shortForm = table[5].pfnHandler.shortForm = brief;
  const struct {
    uint8_t op;
    const char* request;
    int32_t result;
    const char* called;
  } cases[] = {{1, "A", 22, "long 1 A"}, {3, "A", 22, "long 3 A"}, {2, "A", 11, "short"}, {4, "A", 0, ""},
               {0, "A", 0, ""},          {4, "B", 22, "long 4 B"}, {0xFF, "C", 0, ""},    {1, "D", 11, "short"},
               {1, "E", 0, ""},          {1, nullptr, 0, ""},      {1, "a", 0, ""}};
  for (const auto& c : cases) {
    called.clear();
    EXPECT_EQ(Dispatch(table, c.op, c.request, &one, &two, &three), c.result);
    EXPECT_EQ(called, c.called);
  }
  EXPECT_EQ(Dispatch(&table[6], 1, "E", nullptr, nullptr, nullptr), 0) << "an empty table";
}

TEST_F(UnitTest, KeywordsSelectLines) {
  machine::WriteFile(LOG, "Feb  3 a: x one\nJan  9 b: y two\nJan 10 c: x three\nFeb  2 d: x four\nMar  1 e: y five\n");
  char keyword[] = "x", nowhere[] = "z";
  uint64_t begin = 0, end = 2;
  EXPECT_EQ(LogFilter(LOG.c_str(), keyword, nullptr, 1, nullptr, nullptr), 3U);
  EXPECT_EQ(LogFilter(LOG.c_str(), keyword, nullptr, 0, &begin, &end), 2U);
  EXPECT_EQ(begin, 1U);
  EXPECT_EQ(LogFilter(LOG.c_str(), keyword, nullptr, 0, &begin, nullptr), 3U) << "half a range is none";
  const std::string one = "Feb 03 a: x one\n", three = "Jan 10 c: x three\n", four = "Feb 02 d: x four\n";
  const struct {
    int sortFirst;
    uint64_t begin, end;  // 0: no range
    std::string listed;
    Numbers left;
  } cases[] = {{0, 0, 0, one + four + three, {0, 0}},
               {1, 0, 0, one + four + three, {0, 0}},
               {0, 1, 2, four + three, {2, 3}},  // the last lines of the file
               {1, 1, 2, one + four, {2, 3}},    // the newest
               {1, 3, 3, three, {1, 1}}};
  for (const auto& c : cases) {
    char result[RESULT_FILE_SIZE] = "";
    begin = c.begin;
    end = c.end;
    uint64_t* first = c.begin != 0 ? &begin : nullptr;
    const auto count = static_cast<uint64_t>(std::count(c.listed.begin(), c.listed.end(), '\n'));
    EXPECT_EQ(LogFilter(LOG.c_str(), keyword, result, c.sortFirst, first, &end), count);
    EXPECT_EQ(machine::ReadFile(result), c.listed);
    EXPECT_EQ((Numbers{begin, end}), c.left);
    machine::Remove(result);
  }
  for (const int sortFirst : {0, 1}) {
    char result[RESULT_FILE_SIZE] = "before";
    EXPECT_EQ(LogFilter(LOG.c_str(), nowhere, result, sortFirst, nullptr, nullptr), 0U);
    EXPECT_STREQ(result, "");
    EXPECT_EQ(TakeLines(), Lines{Dbg("LogFilter", "empty file!")});
  }
}

TEST_F(UnitTest, WhatIsRefusedLeavesEverythingAlone) {
  const std::string folder = "/var/log/" + std::string(120, 'f') + "/", fits = folder + std::string(40, 'n');
  const std::string tooLong = folder + std::string(120, 'n');
  std::string longKeyword(256, 'k');
  for (const std::string& path : {LOG, fits, tooLong}) machine::WriteFile(path, MakeLog(2));
  EXPECT_EQ(LogFilter(fits.c_str(), nullptr, nullptr, 0, nullptr, nullptr), 2U);
  machine::WriteFile(fits, "");
  machine::Commands commands;
  const struct {
    const char* log;
    char* keyword;
    std::string message;
  } cases[] = {{nullptr, nullptr, "Parameter error!"},
               {tooLong.c_str(), nullptr, "Parameter error!"},
               {LOG.c_str(), longKeyword.data(), "Parameter error!"},
               {"/var/log/none", nullptr, "File /var/log/none doesn't exist!"}};
  for (const auto& c : cases) {
    char result[RESULT_FILE_SIZE] = "as it was";
    uint64_t begin = 3, end = 4;
    EXPECT_EQ(LogFilter(c.log, c.keyword, result, 1, &begin, &end), 0U);
    EXPECT_STREQ(result, "as it was");
    EXPECT_EQ((Numbers{begin, end}), (Numbers{3, 4}));
    EXPECT_EQ(TakeLines(), Lines{Err("LogFilter", c.message)});
  }
  const std::string target = "/var/log/merged";
  const std::vector<std::pair<std::string, std::string>> merges = {
      {fits + " " + fits, target}, {folder + std::string(110, 'n'), target}, {LOG, folder + std::string(130, 't')}};
  for (const auto& [list, to] : merges) {
    std::string copy = list;
    EXPECT_EQ(LogMerger(copy.data(), to.c_str()), 0);
    EXPECT_EQ(copy, list);
  }
  EXPECT_EQ(commands.TakeCalls(), std::multiset<std::string>());
  EXPECT_EQ(machine::Listing("/var/log").count("merged"), 0U);
  EXPECT_EQ(LogFilter(fits.c_str(), nullptr, nullptr, 0, nullptr, nullptr), 2U) << "the cache is still that log's";
  std::string list = LOG + " /var/log/none " + LOG;
  EXPECT_EQ(LogMerger(list.data(), target.c_str()), 0);
  EXPECT_EQ(machine::ReadFile(target), MakeLog(2) + MakeLog(2));
  EXPECT_EQ(list.c_str(), LOG) << "the list is cut behind its first name";
}

TEST_F(UnitTest, TheTextOfTheSensorTable) {
  const std::vector<std::pair<const char*, Numbers>> cases = {{"1A;2001;1B;2002", {0x1A, 0x2001, 0x1B, 0x2002}},
                                                              {"1A;2001;1B", {0x1A, 0x2001}},
                                                              {"1FF;2001", {0xFF, 0x2001}},
                                                              {";;1a;;ffffffff;", {0x1A, 0xFFFFFFFF}},
                                                              {"1;2;1;3", {1, 2, 1, 3}},
                                                              {"zz;1;2;3;4;?;5;6", {2, 3, 5, 6}},
                                                              {"1Fxyz;20 01", {0x1F, 0x20}},
                                                              {";", {}}};
  Numbers expected;  // a further text is appended
  for (const auto& [text, rows] : cases) {
    Host().PlugInController(text);
    EXPECT_EQ(GetIpmiZarpIDTable(), 1);
    expected.insert(expected.end(), rows.begin(), rows.end());
    Numbers found;
    for (const auto& row : g_aZARPIDMapping.Rows()) found.insert(found.end(), {row.byIPMISensor, row.dwZARPSensorID});
    EXPECT_EQ(found, expected) << text;
  }
  EXPECT_EQ(GetZARPSensorID(1), 2U) << "the first row counts";
  UnInitIpmiZarpIDTable();
  EXPECT_EQ(GetZARPSensorID(1), 0xFFFFFFFF);
  EXPECT_TRUE(g_aZARPIDMapping.Rows().empty());
}

TEST_F(UnitTest, StringsOfTheResourceManager) {
  const std::string longName(70, 'n');
  Host().names = {{0x2001, "CPU0 Temp"}, {0x2002, ""}, {0x2004, longName}};
  const auto get = [](uint32_t type, uint32_t object, const char* fault) {
    Host().fault = fault;
    char untouched[] = "", *string = untouched;
    testing::internal::CaptureStdout();
    const int result = GetStringA({type, object, 0, 0}, &string);
    std::string answer = testing::internal::GetCapturedStdout();
    EXPECT_EQ(string != untouched, result == 1);
    if (result == 1) answer += std::unique_ptr<char[]>(string).get();
    return answer;
  };
  const std::string none = "Debug: <KESTRUNE> Resource manager is inexistent.\n";
  const std::string noSize = "Debug: <KESTRUNE> Fail to get size of string.\n";
  const std::string noText = "Debug: <KESTRUNE> Fail to get string.\n";
  constexpr uint32_t NAME = GS_TYPE_SENSOR_NAME;
  EXPECT_EQ(get(NAME, 0x2001, ""), none);
  machine::InstallResourceManager();
  testing::internal::CaptureStderr();
  ASSERT_EQ(InitResMgr(), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Dbg (InitResMgr): Start to init ResMgr!\nDbg (InitResMgr): End initResMgr!\n");
  EXPECT_EQ(get(NAME, 0x2001, ""), "CPU0 Temp");
  EXPECT_EQ(get(NAME, 0x2002, ""), "");
  EXPECT_EQ(get(NAME, 0x2003, ""), noSize);
  EXPECT_EQ(get(NAME + 1, 0x2001, ""), noSize);
  EXPECT_EQ(get(NAME, 0x2001, "text"), noText);
  EXPECT_EQ(get(NAME, 0x2001, "empty"), "") << "a size of 0";
  EXPECT_EQ(get(NAME, 0x2001, "full"), "CPU0 Temp") << "no NUL";
  EXPECT_EQ(get(NAME, 0x2004, "full"), longName) << "no NUL";
  EXPECT_EQ(get(NAME, 0x2001, "short"), "CPU0 Te");
  UninitResMgr();
  EXPECT_TRUE(g_hRscDll == nullptr && g_lpfnGetString == nullptr && g_lpfnGetStringW == nullptr);
  EXPECT_EQ(get(NAME, 0x2001, ""), none);
}

TEST_F(UnitTest, ResourceManagersThatDoNotStartOrStop) {
  const std::string start = "Dbg (InitResMgr): Start to init ResMgr!\n";
  const std::string end = start + "Dbg (InitResMgr): End initResMgr!\n";
  const struct {
    const char* omitted;        // null: there is no library
    int starts;                 // what MgrInit answers
    std::string begins, holds;  // the report, with what the loader says in between
    bool staysUp;
  } cases[] = {{nullptr, 1, LIBRARY, "No such file", false},
               {"MgrInit", 1, LIBRARY, "MgrInit\n", false},
               {"", 0, start + "Err (InitResMgr): Failed to initialize ResMgr!\n", "", false},
               {"GetStringA", 1, end + LIBRARY, "GetStringA\n", false},
               {"GetStringW", 1, end + LIBRARY, "GetStringW\n", false},
               {"MgrUninit", 1, end + LIBRARY, "MgrUninit\n", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.holds);
    Host().manager = c.starts;
    if (c.omitted != nullptr) machine::InstallResourceManager(c.omitted);
    const bool starts = c.holds == "MgrUninit\n";
    testing::internal::CaptureStderr();
    EXPECT_EQ(InitResMgr(), starts ? 1 : 0);
    if (starts) UninitResMgr();
    const std::string report = testing::internal::GetCapturedStderr();
    EXPECT_EQ(report.substr(0, c.begins.size()), c.begins);
    EXPECT_NE(report.find(c.holds), std::string::npos) << report;
    EXPECT_EQ(report.back(), '\n');
    EXPECT_EQ(Host().managerIsUp, c.staysUp);
    if (starts) {  // and stays
      EXPECT_TRUE(g_lpfnGetString != nullptr && g_lpfnGetStringW != nullptr);
      EXPECT_EQ(dlclose(g_hRscDll), 0);
      g_hRscDll = nullptr;
      g_lpfnGetString = nullptr;
      g_lpfnGetStringW = nullptr;
    }
    EXPECT_TRUE(g_hRscDll == nullptr && g_lpfnGetString == nullptr && g_lpfnGetStringW == nullptr);
    EXPECT_EQ(dlopen(LIBRARY.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still in the process";
  }
}

}  // namespace
