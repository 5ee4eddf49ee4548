/// Start and stop: which logs the module finds, what it takes over from the host, what it undoes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <future>

#include "tests/support/module.h"

namespace {

using IDs = std::vector<uint32_t>;

const std::string START = Dbg("OnInitData", "Do Initialize!"), STOP = Dbg("OnUninitData", "Do UnInitialize!");
const std::string WITH_SEL = Dbg("OnInitData", "Init Sel OK!"), WITHOUT_SEL = Dbg("OnInitData", "Err to InitSELLog");
const Lines PLAIN_START = {START, Err("InitSELLog", "Failed to initializing NUBO module!"), WITHOUT_SEL};

IDs GroupIDs(const HostModule& module) {
  std::vector<tagCONFIGGROUP> groups(6);
  uint32_t count = 6;
  EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGGROUPS, &count, groups.data(), nullptr), 1);
  IDs ids;
  for (uint32_t i = 0; i < count; ++i) ids.push_back(groups[i].wGroupID);
  return ids;
}

IDs TypeIDs(const HostModule& module) {
  std::vector<uint64_t> list(16);
  uint32_t size = 128;
  EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGTYPE, &size, list.data(), nullptr), 1);
  IDs ids;
  for (size_t i = 0; i < static_cast<uint32_t>(list[0]); ++i)
    ids.push_back(static_cast<uint32_t>(list[1 + 2 * i]) >> 16);
  return ids;
}

class StartupTest : public ModuleTest {};

TEST_F(StartupTest, EveryCombinationOfLogsAndDistribution) {
  for (const int dist : {0, 103, 106}) {
    Lines names = {"secure", "messages", "agent.log", "mail", "news/news.crit", "news/news.err", "news/news.notice"};
    if (dist == 0) names = {"secure", "messages", "agent.log", "maillog", "spooler", "cron"};
    const size_t selBit = size_t{1} << names.size();
    for (size_t mask = 0; mask < 2 * selBit && !HasFailure(); ++mask) {
      SCOPED_TRACE(testing::Message() << "distribution " << dist << ", logs " << mask);
      machine::Reset();
      Host() = TestHost();
      Host().dist = dist;
      std::string list;
      IDs ids;
      for (size_t i = 0; i < names.size(); ++i) {
        if ((mask >> i & 1) == 0) continue;
        machine::WriteFile("/var/log/" + names[i], "");
        if (i < 3) ids.push_back(LOG_SECURE + static_cast<uint32_t>(i));
        if (i >= 3) list += (list.empty() ? "/var/log/" : " /var/log/") + names[i];
      }
      if (!list.empty()) ids.insert(ids.begin(), LOG_APPLICATION);
      const bool sel = (mask & selBit) != 0;
      if (sel) {
        ids.push_back(LOG_SEL);
        Host().PlugInController("1A;2001");
        machine::InstallResourceManager();
      }
      const HostModule& module = Start();
      EXPECT_EQ(std::string(*module.AppLogList, sizeof(AppLogList)), list + std::string(256 - list.size(), '\0'));
      EXPECT_EQ(*module.selEnable, sel ? 1U : 0U);
      EXPECT_EQ(TypeIDs(module), ids);
      ids.insert(ids.begin(), CONFIG_GROUP_LOGS);
      EXPECT_EQ(GroupIDs(module), ids);
      Unload();
    }
  }
}

TEST_F(StartupTest, LogsThatWereMissingStayOutUntilTheModuleIsLoadedAgain) {
  machine::WriteFile("/var/log/messages", "");
  EXPECT_EQ(TypeIDs(Start()), IDs{LOG_MESSAGES});
  EXPECT_EQ(Load().SPUninitialize(), 1);
  machine::WriteFile("/var/log/secure", "");
  machine::WriteFile("/var/log/cron", "");
  EXPECT_EQ(TypeIDs(Start()), IDs{LOG_MESSAGES});
  EXPECT_EQ(GroupIDs(Load()), (IDs{CONFIG_GROUP_LOGS, LOG_MESSAGES}));
  EXPECT_STREQ(*Load().AppLogList, "/var/log/cron") << "the list itself follows what is there";
  Unload();
  EXPECT_EQ(GroupIDs(Start()), (IDs{CONFIG_GROUP_LOGS, LOG_APPLICATION, LOG_SECURE, LOG_MESSAGES}));
}

TEST_F(StartupTest, SettingsWord) {
  const HostModule& module = Load();
  const auto settings = [&module] {
    return std::vector<uint64_t>{*module.g_SPGlobal, *module.g_bRepeatEvent, *module.g_uiUpdateInterval};
  };
  uint32_t out = 0;
  EXPECT_EQ(settings(), (std::vector<uint64_t>{0, 0, 5000}));
  EXPECT_EQ(module.SPInitialize(nullptr, &out), 1);
  EXPECT_EQ(out, 2U);
  EXPECT_EQ(settings(), (std::vector<uint64_t>{0, 0, 5000}));
  const std::vector<std::vector<uint64_t>> cases = {
      {0x0000138800000001, 1, 5000}, {0xFFFFFFFF00000002, 0, 0xFFFFFFFF}, {0x00000000FFFFFFFF, 1, 0}, {0, 0, 0}};
  for (const auto& expected : cases) {
    const uint64_t word = expected[0];
    uint64_t other = ~word, read = 0;
    EXPECT_EQ(module.SPUninitialize(), 1);
    EXPECT_EQ(module.SPInitialize(&word, nullptr), 1);
    EXPECT_EQ(settings(), expected);
    TakeLines();
    out = 9;
    EXPECT_EQ(module.SPInitialize(&other, &out), 1) << "started already";
    EXPECT_EQ(out, 9U);
    EXPECT_EQ(TakeLines(), Lines());
    EXPECT_EQ(settings(), expected);
    EXPECT_EQ(module.SPConfig(SP_OP_SET, SP_GBLPROPERTY, &other, nullptr, nullptr), 1);
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_GBLPROPERTY, &read, nullptr, nullptr), 1);
    EXPECT_EQ(read, other);
    EXPECT_EQ(settings(), (std::vector<uint64_t>{other, other & 1, other >> 32}));
  }
}

TEST_F(StartupTest, UnsupportedSystemIsRefusedBeforeTheLockIsTaken) {
  const HostModule& module = Load();
  uint32_t out = 9;
  Host().dist = 106;
  for (const int answer : {0, -1}) {
    Host().supported = answer;
    EXPECT_EQ(module.SPInitialize(nullptr, &out), 0);
    EXPECT_EQ(module.SPUninitialize(), 0);
  }
  EXPECT_EQ(TakeLines(), Lines());
  Host().supported = 1;
  Start();
  Host().supported = 0;
  // A request that is being answered holds the lock; the refusal does not wait for it.
  std::promise<void> answering, goOn;
  Host().onMessage = [&answering, &goOn](const std::string&) {
    answering.set_value();
    goOn.get_future().wait();
  };
  auto request = std::async(std::launch::async, [&module] {
    uint64_t word = 0;
    return module.SPConfig(SP_OP_GET, SP_GBLPROPERTY, &word, nullptr, nullptr);
  });
  answering.get_future().wait();
  auto start = std::async(std::launch::async, [&] { return module.SPInitialize(nullptr, &out); });
  EXPECT_EQ(start.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  goOn.set_value();
  EXPECT_EQ(start.get(), 0);
  EXPECT_EQ(request.get(), 1);
  EXPECT_EQ(out, 9U);
}

TEST_F(StartupTest, OneDistributionLosesItsLocaleVariables) {
  for (const int dist : {0, 103, 106}) {
    const machine::ScopedVariable time("LC_TIME", "de_DE"), type("LC_CTYPE", "C.UTF-8"), other("LC_MONETARY", "de_DE");
    Host().dist = dist;
    Unload();
    TakeLines();
    EXPECT_EQ(Load().SPInitialize(nullptr, nullptr), 1);
    Lines said = PLAIN_START;
    if (dist == 106) said.insert(said.begin(), Dbg("IsOSSupported", "Unset the LC_TIME and LC_CTYPE for the sort -M"));
    EXPECT_EQ(TakeLines(), said);
    EXPECT_EQ(std::getenv("LC_TIME") == nullptr, dist == 106);
    EXPECT_EQ(std::getenv("LC_CTYPE") == nullptr, dist == 106);
    EXPECT_NE(std::getenv("LC_MONETARY"), nullptr);
  }
}

TEST_F(StartupTest, StopAndRequestsWithoutAStart) {
  const HostModule& module = Load();
  uint64_t word = 7;
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(module.SPUninitialize(), 0);
    EXPECT_EQ(TakeLines(), Lines());
    for (const char* request : {SP_GBLPROPERTY, "SP_NONE"}) {
      EXPECT_EQ(module.SPConfig(SP_OP_GET, request, &word, nullptr, nullptr), 0);
      EXPECT_EQ(TakeLines(), Lines{"256 Err: (kestrune)SPConfig: Have not initialized!\n"}) << "no handler runs";
    }
    EXPECT_EQ(word, 7U);
    EXPECT_EQ(module.SPInitialize(nullptr, nullptr), 1);
    EXPECT_EQ(TakeLines(), PLAIN_START);
    EXPECT_EQ(module.SPUninitialize(), 1);
    EXPECT_EQ(TakeLines(), Lines{STOP});
  }
}

TEST_F(StartupTest, SELStartAndEveryWayItFails) {
  const auto debug = [](const std::string& text) { return Dbg("InitSELLog", text); };
  const auto table = [](const std::string& text) { return Dbg("GetIpmiZarpIDTable", text); };
  const std::string card = debug("IPMI Card exist, ID is 1"), noTable = debug("Can't get IPMI to ZARP ID table!");
  const std::string noInfo = debug("gmGetIPMIInfo failed!");
  const struct {
    std::function<void()> spoil;
    Lines messages;
    size_t calls;  // how far it comes: of the four below
  } cases[] = {
      {[] {}, {card}, 4},
      {[] { Host().mapping = ";;"; }, {card}, 4},
      {[] { Host().info = 0; }, {noInfo}, 2},
      {[] { Host().card = 255; }, {debug("Can't find IPMI card!")}, 2},
      {[] { Host().propertySize = 0; }, {card, table("gmGetProperty failed!"), noTable}, 3},
      {[] { Host().mapping.reset(); }, {card, table("gmGetProperty count = 0!"), noTable}, 3},
      {[] { Host().propertyText = 0; }, {card, table("gmGetProperty failed2!"), noTable}, 4},
      {[] { Host().mapping = "1A"; }, {card, table("Entry Count = 0!"), noTable}, 4},
      {[] { Host().mapping = ""; }, {card, table("Entry Count = 0!"), noTable}, 4},
      {[] { machine::Remove("/usr/zarp/lib"); }, {card, debug("Init resmgr failed!")}, 4},
      {[] { Host().info = Host().uninitialize = 0; },
       {noInfo, Err("InitSELLog", "Failed to uninitializing NUBO module!")},
       2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.messages.back());
    machine::InstallResourceManager();
    Host() = TestHost();
    Host().PlugInController("1A;2001");
    c.spoil();
    Unload();
    TakeLines();
    TakeCalls();
    EXPECT_EQ(Load().SPInitialize(nullptr, nullptr), 1);
    const bool up = c.messages == Lines{card};
    Lines messages = c.messages, calls = {"gmInitialize", "gmGetIPMIInfo", "gmGetProperty", "gmGetProperty"};
    messages.insert(messages.begin(), START);
    messages.push_back(up ? WITH_SEL : WITHOUT_SEL);
    calls.resize(c.calls);
    if (!up) calls.emplace_back("gmUninitialize");
    EXPECT_EQ(TakeLines(), messages);
    EXPECT_EQ(TakeCalls(), calls);
    EXPECT_EQ(*Load().selEnable, up ? 1U : 0U);

    Host().uninitialize = 0;
    EXPECT_EQ(Load().SPUninitialize(), 1);
    messages = {STOP};
    if (up) messages.push_back(Err("OnUninitData", "Failed to uninitializing NUBO module!"));
    EXPECT_EQ(TakeLines(), messages);
    EXPECT_EQ(TakeCalls(), up ? Lines{"gmUninitialize"} : Lines());
    EXPECT_EQ(*Load().selEnable, 0U);
  }
}

}  // namespace
