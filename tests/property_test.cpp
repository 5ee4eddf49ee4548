/// Property replies, and messages written back to the system log.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <clocale>
#include <memory>

#include "tests/support/model.h"

namespace {

const std::string ANNOUNCED = "2048 Dbg (kestrune): in OnGetProperty\n";
const std::string IGNORED = "2048 Err (kestrune:OnSetProperty): Ignore to write log, no sufficient config entries!\n";

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

class PropertyTest : public ModuleTest {};

TEST_F(PropertyTest, OneLogAndAll) {
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
      SCOPED_TRACE(testing::Message() << "log " << log << " form " << identifier.dwIDVType);
      EXPECT_EQ(Send(module, {SP_PROPERTY, identifier, 0}).count, 1U);
      Reply reply = Send(module, {SP_PROPERTY, identifier, 3, true});
      EXPECT_EQ(reply.rows, Rows{all[log - 1]});
      EXPECT_EQ(reply.messages.back(), log == 1   ? "2048 DBG (kestrune:LogFilter): no need merge!\n"
                                       : log == 2 ? Err("LogFilter", "File /var/log/secure doesn't exist!")
                                                  : ANNOUNCED);
      reply = Send(module, {SP_PROPERTY, identifier, 0, true});
      EXPECT_EQ(reply.result, 0);
      EXPECT_EQ(reply.messages.back(), Err("GetProperty", "The buffer isn't enough!"));
    }
  }
  for (const uint32_t capacity : {4U, 5U, 8U}) {
    const Reply reply = Send(module, {SP_PROPERTY, Type(CONFIG_TYPE_LOG, 0), capacity, true});
    EXPECT_EQ(reply.result, capacity < 5 ? 0 : 1);
    EXPECT_EQ(reply.count, capacity < 5 ? capacity : 5);
    EXPECT_EQ(reply.rows, capacity < 5 ? Rows() : all);
  }
  for (const tagIDV& identifier : {Type(CONFIG_TYPE_LOG, 0), Type(CONFIG_TYPE_LOG, 1), Group(LOG_APPLICATION)}) {
    machine::Remove("/var/log/._app_log_.tmp");
    Send(module, {SP_PROPERTY, identifier});
    EXPECT_EQ(machine::ReadFile("/var/log/._app_log_.tmp"), MakeLog(2) + MakeLog(1)) << "a query merges too";
  }
}

/// One entry to be written, owning its string as in a reply: a number, or a text if there is one.
struct Entry {
  uint32_t id, attributes;
  int64_t number;
  const wchar_t* text = nullptr;
  int type = -1;  // -1: what fits the value
};
using Entries = std::vector<Entry>;

class PropertyWriteTest : public ModuleTest {
 protected:
  int32_t Write(tagIDV identifier, const std::vector<std::pair<uint32_t, Entries>>& content) {
    std::vector<tagCONFIGITEM> items;
    std::vector<std::unique_ptr<tagCONFIGENTRY[]>> arrays;
    for (const auto& [id, list] : content) {
      tagCONFIGENTRY* entry = arrays.emplace_back(new tagCONFIGENTRY[list.size()]).get();
      items.push_back({0, id, static_cast<uint32_t>(list.size()), entry});
      for (const Entry& e : list) {
        entry->dwEntryID = e.id;
        entry->dwAttributes = e.attributes;
        entry->varValue.value.llVal = e.number;
        if (e.text != nullptr) {
          entry->varValue.value.bstrVal = std::wcscpy(new wchar_t[std::wcslen(e.text) + 1], e.text);
        }
        entry->varValue.vt = static_cast<uint16_t>(e.type >= 0 ? e.type : e.text != nullptr ? VT_BSTR : VT_I4);
        ++entry;
      }
    }
    auto count = static_cast<uint32_t>(items.size());
    return Load().SPConfig(SP_OP_SET, SP_PROPERTY, &identifier, &count, items.data());
  }
};

TEST_F(PropertyWriteTest, LevelsPrefixesAndEntriesThatCount) {
  SystemLog log;
  Start();
  const std::wstring fits(255, L'x'), longer(5000, L'x');
  const std::string cut(255, 'x');
  const auto item = [](int64_t level, const wchar_t* text) {
    return Entries{{CE_RECORDS, 1, 3}, {CE_LEVEL, 10, level}, {CE_TEXT, 10, 0, text}};
  };
  const struct {
    Entries entries;
    Lines written;  // none: the item is ignored, with a message
  } cases[] = {
      {item(0, L"plain"), {"<13>plain"}},
      {item(1, L"note"), {"<13>WebUI: note"}},
      {item(2, L"warn"), {"<13>WebUI(Warning): warn"}},
      {item(3, L"bad"), {"<13>WebUI(Critical): bad"}},
      {item(4, L"four"), {"<13>four"}},
      {item(0x700000002, L"low half"), {"<13>WebUI(Warning): low half"}},
      {item(1, L"%s%n 100%"), {"<13>WebUI: %s%n 100%"}},
      {item(1, L""), {"<13>WebUI: "}},
      {item(3, fits.c_str()), {"<13>WebUI(Critical): " + cut}},
      {item(0, longer.c_str()), {"<13>" + cut}},
      {{{CE_TEXT, 2, 0, L"bit 1"}, {CE_LEVEL, 8, 1}}, {"<13>WebUI: bit 1"}},
      {{{CE_LEVEL, 10, 1}, {CE_TEXT, 10, 0, L"a"}, {CE_LEVEL, 10, 2}, {CE_TEXT, 10, 0, L"last"}},
       {"<13>WebUI(Warning): last"}},
      {{{CE_LEVEL, 10, 1}, {CE_LEVEL, 0xF5, 2}, {CE_TEXT, 10, 0, L"b"}, {CE_TEXT, 1, 0, L"read-only"}},
       {"<13>WebUI: b"}},
      {{{CE_LEVEL, 10, 2, nullptr, VT_I2}, {CE_TEXT, 10, 0, L"any type"}}, {"<13>WebUI(Warning): any type"}},
      {{{CE_LEVEL, 1, 1}, {CE_TEXT, 1, 0, L"read-only"}}, {}},
      {{{CE_LEVEL, 0x200, 1}, {CE_TEXT, 0x800, 0, L"low byte only"}}, {}},
      {{{CE_LEVEL, 10, 1}}, {}},
      {{{CE_TEXT, 10, 0, L"no level"}}, {}},
      {{{CE_LEVEL, 10, 1}, {CE_TEXT, 10, 65}}, {}},                   // a number for a text
      {{{CE_LEVEL, 10, 1}, {CE_TEXT, 10, 0, nullptr, VT_BSTR}}, {}},  // no string
      {item(1, L"\xE9"), {}},                                         // has no form in the C locale
      {{}, {}},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    TakeLines();
    EXPECT_EQ(Write(Type(CONFIG_TYPE_LOG), {{CONFIG_TYPE_LOG, cases[i].entries}}), 1);
    EXPECT_EQ(log.Take(), cases[i].written);
    EXPECT_EQ(TakeLines(), cases[i].written.empty() ? (Lines{ANNOUNCED, IGNORED}) : Lines{ANNOUNCED});
  }
  EXPECT_EQ(Write(Group(LOG_SECURE), {{7, item(1, L"no")}, {5, {}}, {5, item(1, L"one")}, {5, item(2, L"two")}}), 1);
  EXPECT_EQ(log.Take(), (Lines{"<13>WebUI: one", "<13>WebUI(Warning): two"}));
  EXPECT_EQ(TakeLines(), (Lines{ANNOUNCED, IGNORED})) << "an item of another ID is skipped in silence";

  std::setlocale(LC_ALL, "C.UTF-8");
  const std::wstring accents(128, L'\xE9');  // of two bytes each
  EXPECT_EQ(Write(Type(LOG_SEL), {{5, item(0, accents.c_str())}, {5, item(0, (L"x" + accents).c_str())}}), 1);
  std::setlocale(LC_ALL, "C");
  std::string bytes;
  while (bytes.size() < 254) bytes += "\xC3\xA9";
  EXPECT_EQ(log.Take(), (Lines{"<13>" + bytes, "<13>x" + bytes})) << "cut between characters";
}

TEST_F(PropertyWriteTest, ArgumentsThatAreMissingOrWrong) {
  SystemLog log;
  const HostModule& module = Start();
  tagIDV good = Type(CONFIG_TYPE_LOG, 99), parent = Group(CONFIG_GROUP_LOGS), unknown = Type(0xF7);
  uint32_t none = 0, one = 1;
  tagCONFIGITEM bare = {0, CONFIG_TYPE_LOG, 2, nullptr};
  const std::string missing = Err("OnGetProperty", "Parameter error!");
  const struct {
    tagIDV* identifier;
    uint32_t* count;
    tagCONFIGITEM* items;
    int32_t result;
    std::string message;
  } cases[] = {{nullptr, &one, &bare, 0, missing},
               {&good, nullptr, &bare, 0, missing},
               {&good, &one, nullptr, 0, missing},
               {&parent, &one, &bare, 0, Err("OnSetProperty", "The IPV error!")},
               {&unknown, &one, &bare, 0, Err("ParseIDV", "Invalid config type ID: 0xf7")},
               {&good, &one, &bare, 1, IGNORED},
               {&good, &none, nullptr, 1, ANNOUNCED}};
  for (const auto& c : cases) {
    TakeLines();
    EXPECT_EQ(module.SPConfig(SP_OP_SET, SP_PROPERTY, c.identifier, c.count, c.items), c.result);
    EXPECT_EQ(TakeLines().back(), c.message);
  }
  EXPECT_EQ(log.Take(), Lines());
}

}  // namespace
