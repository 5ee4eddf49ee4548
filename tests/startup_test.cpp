/// Start and stop: which logs the module finds, what it takes over from the host, what it undoes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <future>
#include <sstream>

#include "tests/support/module.h"

namespace {

using namespace std::string_literals;
using IDs = std::vector<uint32_t>;

const std::string START = Dbg("OnInitData", "Do Initialize!"), STOP = Dbg("OnUninitData", "Do UnInitialize!");
const std::string WITH_SEL = Dbg("OnInitData", "Init Sel OK!"), WITHOUT_SEL = Dbg("OnInitData", "Err to InitSELLog");
const Lines PLAIN_START = {START, Err("InitSELLog", "Failed to initializing NUBO module!"), WITHOUT_SEL};

/// The logs on offer, which are the types, and the groups after their parent.
IDs Offered(const HostModule& module) {
  std::array<tagCONFIGGROUP, 6> groups{};
  std::array<uint64_t, 16> list{};
  uint32_t count = groups.size(), size = sizeof(list);
  EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGGROUPS, &count, groups.data(), nullptr), 1);
  EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGTYPE, &size, list.data(), nullptr), 1);
  EXPECT_EQ(static_cast<uint32_t>(list[0]) + 1, count);
  EXPECT_EQ(groups[0].wGroupID, CONFIG_GROUP_LOGS);
  IDs ids;
  for (uint32_t i = 1; i < count; ++i) {
    ids.push_back(groups[i].wGroupID);
    EXPECT_EQ(static_cast<uint32_t>(list[2 * i - 1]) >> 16, ids.back());
  }
  return ids;
}

class StartupTest : public ModuleTest {};

TEST_F(StartupTest, LogsOfEachDistribution) {
  const std::string news = "mail news/news.crit news/news.err news/news.notice", plain = "maillog spooler cron";
  const std::string newsList = "/var/log/mail /var/log/news/news.crit /var/log/news/news.err /var/log/news/news.notice";
  const std::string plainList = "/var/log/maillog /var/log/spooler /var/log/cron";
  const IDs all = {LOG_APPLICATION, LOG_SECURE, LOG_MESSAGES, LOG_AGENT, LOG_SEL};
  // The distribution, the files in /var/log, whether there is a controller; the list and the logs on offer.
  const std::tuple<int, std::string, bool, std::string, IDs> cases[] = {
      {0, "", false, "", {}},
      {0, "messages " + news, false, "", {LOG_MESSAGES}},
      {0, "agent.log", true, "", {LOG_AGENT, LOG_SEL}},
      {0, "maillog secure", false, "/var/log/maillog", {LOG_APPLICATION, LOG_SECURE}},
      {0, "cron maillog", true, "/var/log/maillog /var/log/cron", {LOG_APPLICATION, LOG_SEL}},
      {0, "secure messages agent.log " + plain, true, plainList, all},
      {103, news + " agent.log", false, newsList, {LOG_APPLICATION, LOG_AGENT}},
      {103, "secure " + plain, false, "", {LOG_SECURE}},
      {106, news, false, newsList, {LOG_APPLICATION}}};
  for (const auto& [dist, files, hasSEL, list, ids] : cases) {
    SCOPED_TRACE(testing::Message() << "distribution " << dist << ": " << files);
    machine::Reset();
    Host() = TestHost();
    Host().dist = dist;
    std::istringstream names(files);
    for (std::string name; names >> name;) machine::WriteFile("/var/log/" + name, "");
    if (hasSEL) {
      Host().PlugInController("1A;2001");
      machine::InstallResourceManager();
    }
    const HostModule& module = Start();
    EXPECT_EQ(std::string(*module.AppLogList, sizeof(AppLogList)), list + std::string(256 - list.size(), '\0'));
    EXPECT_EQ(*module.selEnable, hasSEL ? 1U : 0U);
    EXPECT_EQ(Offered(module), ids);
    Unload();
  }
}

TEST_F(StartupTest, LogsThatWereMissingStayOutUntilTheModuleIsLoadedAgain) {
  for (const char* name : {"messages", "maillog"}) machine::WriteFile(std::string("/var/log/") + name, "");
  EXPECT_EQ(Offered(Start()), (IDs{LOG_APPLICATION, LOG_MESSAGES}));
  EXPECT_EQ(Load().SPUninitialize(), 1);
  machine::Remove("/var/log/maillog");
  for (const char* name : {"secure", "cron"}) machine::WriteFile(std::string("/var/log/") + name, "");
  EXPECT_EQ(Offered(Start()), (IDs{LOG_APPLICATION, LOG_MESSAGES}));
  EXPECT_EQ(std::string(*Load().AppLogList, 20), "/var/log/cron\0\0\0\0\0\0\0"s) << "the list follows what is there";
  Unload();
  EXPECT_EQ(Offered(Start()), (IDs{LOG_APPLICATION, LOG_SECURE, LOG_MESSAGES}));
}

TEST_F(StartupTest, SettingsWord) {
  const HostModule& module = Load();
  using Settings = std::array<uint64_t, 3>;
  const auto settings = [&] {
    return Settings{*module.g_SPGlobal, *module.g_bRepeatEvent, *module.g_uiUpdateInterval};
  };
  uint32_t out = 0;
  EXPECT_EQ(module.SPInitialize(nullptr, &out), 1);
  EXPECT_EQ(out, 2U);
  EXPECT_EQ(settings(), (Settings{0, 0, 5000}));
  for (const Settings& expected : {Settings{0xFFFFFFFF00000002, 0, 0xFFFFFFFF}, Settings{0x00000000FFFFFFFF, 1, 0}}) {
    uint64_t word = expected[0], other = 0x0000000500000003, read = 0;
    EXPECT_EQ(module.SPUninitialize(), 1);
    EXPECT_EQ(module.SPInitialize(&word, nullptr), 1);
    TakeLines();
    out = 9;
    EXPECT_EQ(module.SPInitialize(&other, &out), 1) << "started already";
    EXPECT_EQ(out, 9U);
    EXPECT_EQ(TakeLines(), Lines());
    EXPECT_EQ(settings(), expected);
    EXPECT_EQ(module.SPConfig(SP_OP_SET, SP_GBLPROPERTY, &other, nullptr, nullptr), 1);
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_GBLPROPERTY, &read, nullptr, nullptr), 1);
    EXPECT_EQ(read, other);
    EXPECT_EQ(settings(), (Settings{other, 1, 5}));
  }
}

TEST_F(StartupTest, UnsupportedSystemIsRefusedBeforeTheLockIsTaken) {
  const HostModule& module = Load();
  uint32_t out = 9;
  Host().dist = 106;
  for (const int answer : {0, -1}) {
    Host().supported = answer;
    EXPECT_EQ(module.SPInitialize(nullptr, &out), 0);
  }
  EXPECT_EQ(TakeLines(), Lines());
  Host().supported = 1;
  Start();
  Host().supported = 0;
  // A request that is being answered holds the lock; the refusal does not wait for it.
  Host().onMessage = [&](const std::string&) {
    auto start = std::async(std::launch::async, [&] { return module.SPInitialize(nullptr, &out); });
    if (start.wait_for(std::chrono::seconds(10)) != std::future_status::ready) std::abort();
    EXPECT_EQ(start.get(), 0);
  };
  uint64_t word = 0;
  EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_GBLPROPERTY, &word, nullptr, nullptr), 1);
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
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_GBLPROPERTY, &word, nullptr, nullptr), 0);
    EXPECT_EQ(TakeLines(), Lines{"256 Err: (kestrune)SPConfig: Have not initialized!\n"}) << "no handler runs";
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
  const struct {
    std::function<void()> spoil;
    size_t calls;  // how far it comes: of the four below
    Lines messages;
  } cases[] = {
      {[] {}, 4, {card}},
      {[] { Host().mapping = ";;"; }, 4, {card}},
      {[] { Host().info = 0; }, 2, {debug("gmGetIPMIInfo failed!")}},
      {[] { Host().card = 255; }, 2, {debug("Can't find IPMI card!")}},
      {[] { Host().propertySize = 0; }, 3, {card, table("gmGetProperty failed!"), noTable}},
      {[] { Host().mapping.reset(); }, 3, {card, table("gmGetProperty count = 0!"), noTable}},
      {[] { Host().propertyText = 0; }, 4, {card, table("gmGetProperty failed2!"), noTable}},
      {[] { Host().mapping = "1A"; }, 4, {card, table("Entry Count = 0!"), noTable}},
      {[] { machine::Remove("/usr/zarp/lib"); }, 4, {card, debug("Init resmgr failed!")}},
  };
  const std::string noStop = "Failed to uninitializing NUBO module!";
  for (const auto& c : cases) {
    SCOPED_TRACE(c.messages.back());
    machine::InstallResourceManager();
    Host() = TestHost();
    Host().PlugInController("1A;2001");
    Host().uninitialize = c.calls == 3 ? 0 : 1;
    c.spoil();
    Unload();
    TakeLines();
    TakeCalls();
    EXPECT_EQ(Load().SPInitialize(nullptr, nullptr), 1);
    const bool up = c.messages == Lines{card};
    Lines messages = c.messages, calls = {"gmInitialize", "gmGetIPMIInfo", "gmGetProperty", "gmGetProperty"};
    messages.insert(messages.begin(), START);
    if (c.calls == 3) messages.push_back(Err("InitSELLog", noStop));
    messages.push_back(up ? WITH_SEL : WITHOUT_SEL);
    calls.resize(c.calls);
    if (!up) calls.emplace_back("gmUninitialize");
    EXPECT_EQ(TakeLines(), messages);
    EXPECT_EQ(TakeCalls(), calls);
    EXPECT_EQ(*Load().selEnable, up ? 1U : 0U);

    Host().uninitialize = 0;
    EXPECT_EQ(Load().SPUninitialize(), 1);
    EXPECT_EQ(TakeLines(), up ? (Lines{STOP, Err("OnUninitData", noStop)}) : Lines{STOP});
    EXPECT_EQ(TakeCalls(), up ? Lines{"gmUninitialize"} : Lines());
    EXPECT_EQ(*Load().selEnable, 0U);
  }
}

}  // namespace
