/// How requests find their handlers, what they say of the catalogue of logs, and messages written to the system log.
#include <gtest/gtest.h>
#include <syslog.h>

#include <clocale>
#include <cstdarg>
#include <cwchar>

#include "tests/support/model.h"

namespace {
Lines g_written;  // what went to the system log, each message after its priority
}

/// In the place of the C library's function.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the C library's names are its own
extern "C" void syslog(int priority, const char* format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  g_written.push_back(std::to_string(priority) + " " + text);
}

namespace {

class RequestsTest : public ModuleTest {};

TEST_F(RequestsTest, EveryRequestNameAndOperation) {
  // What a request without any argument says tells which handler got it.
  const std::string property = Err("OnGetProperty", "Parameter error!");
  const std::tuple<const char*, std::string, std::string> rows[] = {
      {SP_GBLPROPERTY, Dbg("OnGetGblProperty", "in OnGetGblProperty"), Dbg("OnSetGblProperty", "in OnSetGblProperty")},
      {SP_PROPERTY, property, property},
      {SP_CONFIGGROUPS, Err("OnGetConfigGroups", "Parameter error!"), ""},
      {SP_CONFIGTYPE, Err("OnGetConfigType", "Parameter error!"), ""},
      {SP_CONFIGITEM, Err("OnGetConfigItem", "Parameter error!"), ""},
      {SP_CONFIGITEMEX, Err("OnGetConfigItemEx", "Parameter error!"), ""},
      {"SP_SENSORS", "", ""},
      {"SP_PROPERT", "", ""},
      {nullptr, "", ""}};
  const HostModule& module = Start();
  const auto says = [&](uint32_t op, const char* request) {
    EXPECT_EQ(module.SPConfig(op, request, nullptr, nullptr, nullptr), 0);
    const Lines said = TakeLines();
    EXPECT_EQ(module.DefSPConfigHandler(static_cast<uint8_t>(op), request, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(TakeLines(), said);
    return said.empty() ? "" : said.back();
  };
  for (const auto& [request, get, set] : rows) {
    for (const uint32_t op : {1U, 3U, 0xFFU, 0x101U}) EXPECT_EQ(says(op, request), get) << op;
    for (const uint32_t op : {2U, 0xFFFFFF02U}) EXPECT_EQ(says(op, request), set) << op;
    for (const uint32_t op : {0U, 4U, 0xFCU, 0x100U}) EXPECT_EQ(says(op, request), "") << op;
  }
  tagIDV log = Type(LOG_MESSAGES);
  uint32_t count = 7;
  EXPECT_EQ(module.SPConfig(3, SP_PROPERTY, &log, &count, nullptr), 1) << "get goes before set";
  EXPECT_EQ(count, 1U);
  for (const char* request : {SP_PROPERTY, SP_CONFIGITEM, SP_CONFIGITEMEX}) {
    EXPECT_EQ(module.SPConfig(SP_OP_GET, request, &log, nullptr, nullptr), 0) << "nowhere to tell the count";
  }
  EXPECT_EQ(module.SPUninitialize(), 1);
  EXPECT_EQ(module.DefSPConfigHandler(SP_OP_GET, SP_CONFIGGROUPS, &count, nullptr, nullptr), 1) << "needs no start";
  EXPECT_EQ(count, 0U) << "but there are no groups then";
}

TEST_F(RequestsTest, GroupRecords) {
  machine::WriteFile("/var/log/messages", "");
  machine::WriteFile("/var/log/secure", "");
  const HostModule& module = Start();
  const std::vector<uint16_t> expected = {0, 0x0C, 0, 0, 0, 0, 0, 0xF9, 0, 0x0C, 5, 0, 0, 0xFA, 0, 0x0C, 5, 0};
  const std::vector<uint16_t> untouched(expected.size(), 0xC7C7);
  for (const uint32_t capacity : {2U, 3U, 99U}) {
    std::vector<uint16_t> words = untouched;
    uint32_t count = capacity;
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGGROUPS, &count, nullptr, nullptr), 1);
    EXPECT_EQ(std::exchange(count, capacity), 3U);
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGGROUPS, &count, words.data(), nullptr), capacity < 3 ? 0 : 1);
    EXPECT_EQ(count, capacity < 3 ? capacity : 3);
    EXPECT_EQ(words, capacity < 3 ? untouched : expected);
    EXPECT_EQ(TakeLines().back(), capacity < 3 ? Err("OnGetConfigGroups", "The buffer isn't enough!")
                                               : "2048 Dbg (kestrune): in OnGetConfigGroups\n");
  }
}

TEST_F(RequestsTest, TypeListBytes) {
  machine::WriteFile("/var/log/messages", "");
  machine::WriteFile("/var/log/cron", "");
  const HostModule& module = Start();
  const std::vector<uint64_t> untouched(6, 0xC7C7C7C7C7C7C7C7);  // 48 bytes
  std::vector<uint64_t> list = untouched;
  const auto members = reinterpret_cast<uint64_t>(&list[5]);
  const std::vector<uint64_t> expected = {0xC7C7C7C700000002, 0x0000000100F80000, members,
                                          0x0000000100FA0000, members + 4,        0x000000FA000000F8};
  for (const uint32_t capacity : {0U, 47U, 48U}) {
    uint32_t size = capacity;
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGTYPE, &size, nullptr, nullptr), 1);
    EXPECT_EQ(std::exchange(size, capacity), 48U);
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGTYPE, &size, list.data(), nullptr), capacity < 48 ? 0 : 1);
    EXPECT_EQ(size, 48U);
    EXPECT_EQ(list, capacity < 48 ? untouched : expected);
  }
}

TEST_F(RequestsTest, EveryIdentifier) {
  const HostModule& module = Start();  // no log is there; identifiers name them all the same
  const auto unknown = [](const std::string& what) { return Err("ParseIDV", "Invalid " + what); };
  const auto none = [](const std::string& what) { return Err("OnGetProperty", "Doesn't support ID " + what); };
  tagIDV formless = Type(LOG_MESSAGES);
  formless.dwIDVType = 0x10004;
  // How many properties there are, whether there are records; or what refuses the property request.
  const std::tuple<tagIDV, uint32_t, bool, std::string> cases[] = {
      {Group(LOG_APPLICATION), 1, true, ""},
      {Group(LOG_SEL, 1), 1, true, ""},
      {Group(CONFIG_GROUP_LOGS, 5), 0, false, none("0xc index 5")},
      {Group(CONFIG_TYPE_LOG), 0, false, unknown("config group ID: 0x5")},
      {Group(0xFD), 0, false, unknown("config group ID: 0xfd")},
      {Type(LOG_APPLICATION, 6), 1, true, ""},
      {Type(LOG_SEL, 0x10001), 1, true, ""},
      {Type(CONFIG_TYPE_LOG, 0), 5, false, ""},
      {Type(CONFIG_TYPE_LOG, 5), 1, false, ""},
      {Type(CONFIG_TYPE_LOG, 6), 0, false, none("0x5 index 6")},
      {Type(CONFIG_TYPE_LOG, 0x10001), 0, false, none("0x5 index 65537")},
      {Type(CONFIG_GROUP_LOGS), 0, false, unknown("config type ID: 0xc")},
      {Type(0x100F9), 0, false, unknown("config type ID: 0x100f9")},
      {formless, 0, false, unknown("IDV type ID: 0x10004")},
  };
  for (const auto& [identifier, properties, hasRecords, refusal] : cases) {
    SCOPED_TRACE(testing::PrintToString(identifier.id.type.dwConfigTypeID) + refusal);
    Reply reply = Send(module, {SP_PROPERTY, identifier, 77});
    EXPECT_EQ(reply.result, properties == 0 ? 0 : 1);
    EXPECT_EQ(reply.count, properties == 0 ? 77 : properties);
    if (properties == 0) {
      EXPECT_EQ(reply.messages.back(), refusal);
    }
    for (const std::string form : {"", "Ex"}) {
      reply = form.empty() ? Query(module, identifier) : QueryRange(module, identifier, 3, 9);
      EXPECT_EQ(reply.result, hasRecords ? 1 : 0);
      if (hasRecords) continue;
      const bool isUnknown = refusal.find("Invalid") != std::string::npos;
      EXPECT_EQ(reply.messages.back(), isUnknown ? refusal : Err("GetLogConfigItem" + form, "Unknow ID!"));
    }
  }
}

TEST_F(RequestsTest, PropertiesOfOneLogAndAll) {
  machine::WriteFile("/var/log/maillog", MakeLog(2));
  machine::WriteFile("/var/log/cron", MakeLog(1));
  machine::WriteFile("/var/log/messages", MakeLog(4));
  machine::WriteFile("/var/log/agent.log", "");
  const HostModule& module = Start();
  Rows all;
  for (const char* records : {"3", "0", "4", "0", "0"}) {
    all.push_back({static_cast<uint32_t>(all.size()) + 1, CONFIG_TYPE_LOG, PROPERTY_SHAPE, {records, "0", ""}});
  }
  for (uint32_t log = 1; log <= 5; ++log) {
    const uint32_t id = LOG_APPLICATION + log - 1;
    for (const tagIDV& identifier : {Group(id, 9), Type(id, 9), Type(CONFIG_TYPE_LOG, log)}) {
      EXPECT_EQ(Send(module, {SP_PROPERTY, identifier, 3, true}).rows, Rows{all[log - 1]});
      const Reply reply = Send(module, {SP_PROPERTY, identifier, 0, true});
      EXPECT_EQ(reply.result, 0);
      EXPECT_EQ(reply.messages.back(), Err("GetProperty", "The buffer isn't enough!"));
    }
  }
  const tagIDV every = Type(CONFIG_TYPE_LOG, 0);
  EXPECT_EQ(Send(module, {SP_PROPERTY, every, 4, true}).Head(), (std::array<uint32_t, 4>{0, 4, 0, 0}));
  EXPECT_EQ(Send(module, {SP_PROPERTY, every, 5, true}).rows, all);
  for (const tagIDV& identifier : {every, Type(CONFIG_TYPE_LOG, 1), Group(LOG_APPLICATION)}) {
    machine::Remove("/var/log/._app_log_.tmp");
    Send(module, {SP_PROPERTY, identifier});
    EXPECT_EQ(machine::ReadFile("/var/log/._app_log_.tmp"), MakeLog(2) + MakeLog(1)) << "a query merges too";
  }
}

/// One item to be written. Its text may be null, which makes it a number.
struct Message {
  uint32_t id;
  uint64_t level;
  const wchar_t* text;
  uint32_t attributes = 8;  // of the level
};

int32_t Write(const HostModule& module, tagIDV identifier, const std::vector<Message>& messages) {
  std::vector<standin::Item> items(messages.size());
  for (size_t i = 0; i < items.size(); ++i) {
    const auto& [id, level, text, attributes] = messages[i];
    tagCONFIGENTRY* entries = new tagCONFIGENTRY[3];
    static_cast<tagCONFIGITEM&>(items[i]) = {0, id, 3, entries};
    const uint32_t ids[] = {CE_RECORDS, CE_LEVEL, CE_TEXT}, permissions[] = {1, attributes, 8};
    for (size_t k = 0; k < 3; ++k) {
      entries[k].dwEntryID = ids[k];
      entries[k].dwAttributes = permissions[k];
      entries[k].varValue.vt = VT_I4;
      entries[k].varValue.value.ullVal = level;
    }
    if (text == nullptr) continue;
    entries[2].varValue.vt = VT_BSTR;
    entries[2].varValue.value.bstrVal = std::wcscpy(new wchar_t[std::wcslen(text) + 1], text);
  }
  auto count = static_cast<uint32_t>(items.size());
  return module.SPConfig(SP_OP_SET, SP_PROPERTY, &identifier, &count, items.data());
}

TEST_F(RequestsTest, MessagesAreWrittenToTheSystemLog) {
  const std::string announced = "2048 Dbg (kestrune): in OnGetProperty\n";
  const std::string ignored = "2048 Err (kestrune:OnSetProperty): Ignore to write log, no sufficient config entries!\n";
  const std::wstring longer(300, L'x');
  const std::pair<Message, std::string> cases[] = {
      {{5, 0, L"plain"}, "5 plain"},
      {{5, 1, L"%s%n 100%"}, "5 WebUI: %s%n 100%"},
      {{5, 0x700000002, L"low", 2}, "5 WebUI(Warning): low"},
      {{5, 3, longer.c_str()}, "5 WebUI(Critical): " + std::string(255, 'x')},
      {{5, 1, L"no level", 0xF5}, ""},
      {{5, 1, nullptr}, ""},
      {{5, 1, L"\xE9"}, ""}};  // has no form in the C locale
  const HostModule& module = Start();
  for (const auto& [message, written] : cases) {
    EXPECT_EQ(Write(module, Type(CONFIG_TYPE_LOG), {message}), 1);
    EXPECT_EQ(std::exchange(g_written, {}), written.empty() ? Lines() : Lines{written});
    EXPECT_EQ(TakeLines(), written.empty() ? (Lines{announced, ignored}) : Lines{announced});
  }
  EXPECT_EQ(Write(module, Group(LOG_SECURE), {{7, 1, L"no"}, {5, 1, nullptr}, {5, 1, L"one"}, {5, 2, L"two"}}), 1);
  EXPECT_EQ(std::exchange(g_written, {}), (Lines{"5 WebUI: one", "5 WebUI(Warning): two"}));
  EXPECT_EQ(TakeLines(), (Lines{announced, ignored})) << "an item of another ID is skipped in silence";
  std::setlocale(LC_ALL, "C.UTF-8");
  EXPECT_EQ(Write(module, Type(LOG_SEL), {{5, 4, std::wstring(128, L'\xE9').c_str()}}), 1);
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(std::exchange(g_written, {}).at(0).size(), 2 + 254U) << "cut between characters";

  tagIDV good = Type(CONFIG_TYPE_LOG, 99), parent = Group(CONFIG_GROUP_LOGS);
  uint32_t none = 0, one = 1;
  tagCONFIGITEM bare = {0, CONFIG_TYPE_LOG, 2, nullptr};
  const std::tuple<tagIDV*, uint32_t*, tagCONFIGITEM*, int32_t, std::string> arguments[] = {
      {nullptr, &one, &bare, 0, Err("OnGetProperty", "Parameter error!")},
      {&good, &one, nullptr, 0, Err("OnGetProperty", "Parameter error!")},
      {&parent, &one, &bare, 0, Err("OnSetProperty", "The IPV error!")},
      {&good, &one, &bare, 1, ignored},
      {&good, &none, nullptr, 1, announced}};
  for (const auto& [identifier, count, items, result, said] : arguments) {
    EXPECT_EQ(module.SPConfig(SP_OP_SET, SP_PROPERTY, identifier, count, items), result);
    EXPECT_EQ(TakeLines().back(), said);
  }
}

}  // namespace
