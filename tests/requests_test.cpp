/// How requests find their handlers, what they say of the catalogue of logs, and messages written to the system log.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <clocale>
#include <cwchar>
#include <memory>

#include "tests/support/model.h"

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
      {"SP_property", "", ""},
      {"SP_PROPERTY ", "", ""},
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
  const struct {
    tagIDV identifier;
    uint32_t properties;  // 0: the request is refused
    bool hasItems;
    std::string refusal;  // of the property request
  } cases[] = {
      {Group(LOG_APPLICATION), 1, true, ""},
      {Group(LOG_SEL, 1), 1, true, ""},
      {Group(CONFIG_GROUP_LOGS), 0, false, none("0xc index 0")},
      {Group(CONFIG_GROUP_LOGS, 5), 0, false, none("0xc index 5")},
      {Group(CONFIG_TYPE_LOG), 0, false, unknown("config group ID: 0x5")},
      {Group(0), 0, false, unknown("config group ID: 0x0")},
      {Group(0xF7), 0, false, unknown("config group ID: 0xf7")},
      {Group(0xFD), 0, false, unknown("config group ID: 0xfd")},
      {Type(LOG_APPLICATION, 6), 1, true, ""},
      {Type(LOG_SEL, 0x10001), 1, true, ""},
      {Type(CONFIG_TYPE_LOG, 0), 5, false, ""},
      {Type(CONFIG_TYPE_LOG, 5), 1, false, ""},
      {Type(CONFIG_TYPE_LOG, 6), 0, false, none("0x5 index 6")},
      {Type(CONFIG_TYPE_LOG, 0x10001), 0, false, none("0x5 index 65537")},
      {Type(CONFIG_GROUP_LOGS), 0, false, unknown("config type ID: 0xc")},
      {Type(0xFD), 0, false, unknown("config type ID: 0xfd")},
      {Type(0x100F9), 0, false, unknown("config type ID: 0x100f9")},
      {formless, 0, false, unknown("IDV type ID: 0x10004")},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const auto& [identifier, properties, hasItems, refusal] = cases[i];
    Reply reply = Send(module, {SP_PROPERTY, identifier, 77});
    EXPECT_EQ(reply.result, properties == 0 ? 0 : 1);
    EXPECT_EQ(reply.count, properties == 0 ? 77 : properties);
    EXPECT_TRUE(properties != 0 || reply.messages.back() == refusal) << reply.messages.back();
    for (const std::string form : {"", "Ex"}) {
      reply = form.empty() ? Query(module, identifier) : QueryRange(module, identifier, 3, 9);
      EXPECT_EQ(reply.result, hasItems ? 1 : 0);
      const std::string known = Err("GetLogConfigItem" + form, "Unknow ID!");
      EXPECT_TRUE(hasItems ||
                  reply.messages.back() == (refusal.find("Invalid") == std::string::npos ? known : refusal));
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
  EXPECT_EQ(Send(module, {SP_PROPERTY, every, 8, true}).rows, all);
  for (const tagIDV& identifier : {every, Type(CONFIG_TYPE_LOG, 1), Group(LOG_APPLICATION)}) {
    machine::Remove("/var/log/._app_log_.tmp");
    Send(module, {SP_PROPERTY, identifier});
    EXPECT_EQ(machine::ReadFile("/var/log/._app_log_.tmp"), MakeLog(2) + MakeLog(1)) << "a query merges too";
  }
}

/// The socket of the system log. A message is its priority in angle brackets and its text.
class SystemLog {
 public:
  SystemLog() {
    sockaddr_un address{AF_UNIX, "/dev/log"};
    EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  }
  ~SystemLog() {
    closelog();
    close(socket_);
    machine::Remove("/dev/log");
  }
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;

  Lines Take() const {
    Lines messages;
    std::array<char, 2048> buffer{};
    for (ssize_t size; (size = recv(socket_, buffer.data(), buffer.size(), 0)) >= 0;) {
      const std::string message(buffer.data(), static_cast<size_t>(size));
      // "<priority>time sender: text", where neither time nor sender holds a colon followed by a blank.
      messages.push_back(message.substr(0, message.find('>') + 1) + message.substr(message.find(": ") + 2));
    }
    return messages;
  }

 private:
  int socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
};

/// One entry to be written: a number, or a text if there is one.
struct Entry {
  uint32_t id, attributes;
  uint64_t number;
  const wchar_t* text = nullptr;
};
using Entries = std::vector<Entry>;

class WriteTest : public ModuleTest {
 protected:
  int32_t Write(tagIDV identifier, const std::vector<std::pair<uint32_t, Entries>>& content) {
    std::vector<standin::Item> items(content.size());
    for (size_t i = 0; i < items.size(); ++i) {
      const Entries& entries = content[i].second;
      items[i].dwID = content[i].first;
      items[i].dwEntryCount = static_cast<uint32_t>(entries.size());
      tagCONFIGENTRY* entry = items[i].pEntries = new tagCONFIGENTRY[entries.size()];
      for (const Entry& e : entries) {
        entry->dwEntryID = e.id;
        entry->dwAttributes = e.attributes;
        entry->varValue.vt = VT_I4;
        entry->varValue.value.ullVal = e.number;
        if (e.text != nullptr) {
          entry->varValue.vt = VT_BSTR;
          entry->varValue.value.bstrVal = std::wcscpy(new wchar_t[std::wcslen(e.text) + 1], e.text);
        }
        ++entry;
      }
    }
    auto count = static_cast<uint32_t>(items.size());
    return Load().SPConfig(SP_OP_SET, SP_PROPERTY, &identifier, &count, items.data());
  }
};

const std::string ANNOUNCED = "2048 Dbg (kestrune): in OnGetProperty\n";
const std::string IGNORED = "2048 Err (kestrune:OnSetProperty): Ignore to write log, no sufficient config entries!\n";

TEST_F(WriteTest, LevelsPrefixesAndEntriesThatCount) {
  SystemLog log;
  Start();
  const std::wstring longer(300, L'x');
  const auto item = [](uint64_t level, const wchar_t* text) {
    return Entries{{CE_RECORDS, 1, 3}, {CE_LEVEL, 10, level}, {CE_TEXT, 10, 0, text}};
  };
  const std::pair<Entries, std::string> cases[] = {
      // "": the item is ignored, with a message
      {item(0, L"plain"), "<13>plain"},
      {item(0x700000002, L"low half"), "<13>WebUI(Warning): low half"},
      {item(1, L"%s%n 100%"), "<13>WebUI: %s%n 100%"},
      {item(3, longer.c_str()), "<13>WebUI(Critical): " + std::string(255, 'x')},
      {{{CE_TEXT, 2, 0, L"bit 1"}, {CE_LEVEL, 8, 1}}, "<13>WebUI: bit 1"},
      {{{CE_LEVEL, 10, 1}, {CE_LEVEL, 10, 2}, {CE_TEXT, 10, 0, L"b"}, {CE_TEXT, 1, 0, L"read-only"}},
       "<13>WebUI(Warning): b"},
      {{{CE_LEVEL, 0x200, 1}, {CE_TEXT, 0x800, 0, L"low byte only"}}, ""},
      {{{CE_LEVEL, 10, 1}}, ""},
      {{{CE_TEXT, 10, 0, L"no level"}}, ""},
      {{{CE_LEVEL, 10, 1}, {CE_TEXT, 10, 65}}, ""},  // a number for a text
      {item(1, L"\xE9"), ""},                        // has no form in the C locale
      {{}, ""},
  };
  for (const auto& [entries, written] : cases) {
    TakeLines();
    EXPECT_EQ(Write(Type(CONFIG_TYPE_LOG), {{CONFIG_TYPE_LOG, entries}}), 1);
    EXPECT_EQ(log.Take(), written.empty() ? Lines() : Lines{written});
    EXPECT_EQ(TakeLines(), written.empty() ? (Lines{ANNOUNCED, IGNORED}) : Lines{ANNOUNCED});
  }
  EXPECT_EQ(Write(Group(LOG_SECURE), {{7, item(1, L"no")}, {5, {}}, {5, item(1, L"one")}, {5, item(2, L"two")}}), 1);
  EXPECT_EQ(log.Take(), (Lines{"<13>WebUI: one", "<13>WebUI(Warning): two"}));
  EXPECT_EQ(TakeLines(), (Lines{ANNOUNCED, IGNORED})) << "an item of another ID is skipped in silence";

  std::setlocale(LC_ALL, "C.UTF-8");
  EXPECT_EQ(Write(Type(LOG_SEL), {{5, item(0, std::wstring(128, L'\xE9').c_str())}}), 1);
  std::setlocale(LC_ALL, "C");
  const std::string written = log.Take().at(0);
  EXPECT_EQ(written.size(), 4 + 254U) << "cut between characters";
  EXPECT_TRUE(written.ends_with("\xC3\xA9"));
}

TEST_F(WriteTest, ArgumentsThatAreMissingOrWrong) {
  SystemLog log;
  const HostModule& module = Start();
  tagIDV good = Type(CONFIG_TYPE_LOG, 99), parent = Group(CONFIG_GROUP_LOGS), unknown = Type(0xF7);
  uint32_t none = 0, one = 1;
  tagCONFIGITEM bare = {0, CONFIG_TYPE_LOG, 2, nullptr};
  const std::string missing = Err("OnGetProperty", "Parameter error!");
  const std::tuple<tagIDV*, uint32_t*, tagCONFIGITEM*, int32_t, std::string> cases[] = {
      {nullptr, &one, &bare, 0, missing},
      {&good, nullptr, &bare, 0, missing},
      {&good, &one, nullptr, 0, missing},
      {&parent, &one, &bare, 0, Err("OnSetProperty", "The IPV error!")},
      {&unknown, &one, &bare, 0, Err("ParseIDV", "Invalid config type ID: 0xf7")},
      {&good, &one, &bare, 1, IGNORED},
      {&good, &none, nullptr, 1, ANNOUNCED}};
  for (const auto& [identifier, count, items, result, message] : cases) {
    EXPECT_EQ(module.SPConfig(SP_OP_SET, SP_PROPERTY, identifier, count, items), result);
    EXPECT_EQ(TakeLines().back(), message);
  }
  EXPECT_EQ(log.Take(), Lines());
}

}  // namespace
