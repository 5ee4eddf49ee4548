/// Log lines as items: how lines are cut, which lines a range holds, what a reply does to the host's arguments.
#include <gtest/gtest.h>

#include <clocale>

#include "tests/support/model.h"
#include "tests/support/sel.h"

namespace {

using Head = std::array<uint32_t, 4>;

constexpr char MESSAGES[] = "/var/log/messages";

class ConfigItemTest : public ModuleTest {
 protected:
  /// The values of the items of this line and of the short lines after it, "zz".
  std::vector<Lines> List(const std::string& line, uint32_t others = 0) {
    std::string log = line + "\n";
    for (uint32_t i = 0; i < others; ++i) log += "zz\n";
    machine::WriteFile(MESSAGES, log);
    machine::Remove("/tmp/._kestrune_cache");
    const Reply reply = Fetch(Start(), Group(LOG_MESSAGES), 1 + others);
    EXPECT_EQ(reply.Head(), (Head{1, 1 + others, 0, 0}));
    std::vector<Lines> values;
    for (const Row& row : reply.rows) values.push_back(row.values);
    return values;
  }
};

TEST_F(ConfigItemTest, LogsThatAreMissingOrEmptyOrNoFiles) {
  machine::PlantLink(MESSAGES, "/dev/null");
  machine::PlantLink("/var/log/agent.log", "/dev/zero");
  machine::PlantFolder("/var/log/secure");
  machine::PlantFIFO("/var/log/cron");
  machine::WriteFile("/var/log/spooler", "");
  machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords("x")));  // which nobody reads without a controller
  const HostModule& module = Start();
  const std::string empty = Dbg("LogFilter", "empty file!");
  const std::pair<uint32_t, Lines> cases[] = {
      {LOG_APPLICATION, {"2048 DBG (kestrune:LogFilter): no need merge!\n", empty}},
      {LOG_SECURE, {Err("LogFilter", "File /var/log/secure doesn't exist!")}},
      {LOG_MESSAGES, {empty}},
      {LOG_AGENT, {Err("LogFilter", "File /var/log/agent.log doesn't exist!")}},
      {LOG_SEL, {}}};
  for (const auto& [id, said] : cases) {
    SCOPED_TRACE(id);
    EXPECT_EQ(Query(module, Group(id)).Head(), (Head{1, 0, 0, 0}));
    EXPECT_EQ(QueryRange(module, Group(id), 3, 9).Head(), (Head{1, 0, 3, 9}));
    EXPECT_EQ(FetchRange(module, Group(id), 1, 9, 4).Head(), (Head{1, 0, 1, 9}));
    const Reply reply = Fetch(module, Group(id), 4);
    EXPECT_EQ(reply.Head(), (Head{1, 0, 0, 0}));
    EXPECT_EQ(reply.messages, Report("", said));
  }
}

TEST_F(ConfigItemTest, RangesAtEveryEdge) {
  // Not in the order of months: a range follows the file, except in the merged log, which is sorted first.
  const std::string log =
      "Mar  2 10:00:00 h a: Mar 2\nJan 12 10:00:00 h a: Jan 12\nFeb  5 10:00:00 h a: Feb 5\nJan  9 10:00:00 h a: Jan "
      "9\n";
  machine::WriteFile(MESSAGES, log);
  machine::WriteFile("/var/log/spooler", log);
  const HostModule& module = Start();
  const Lines none, all = {"Mar 2", "Feb 5", "Jan 12", "Jan 9"}, backwards = {"backwards"};
  // The range; what a query and a fetch make of it; what each log lists.
  const std::tuple<Head, Head, Head, Lines, Lines> cases[] = {
      {{0, 0}, {1, 4, 1, 4}, {1, 4, 1, 4}, all, all},
      {{1, 0xFFFFFFFF}, {1, 4, 1, 4}, {1, 4, 1, 4}, all, all},
      {{0, 2}, {1, 2, 1, 2}, {1, 2, 3, 4}, {"Feb 5", "Jan 9"}, {"Mar 2", "Feb 5"}},
      {{3, 0}, {1, 2, 3, 4}, {1, 2, 1, 2}, {"Mar 2", "Jan 12"}, {"Jan 12", "Jan 9"}},
      {{4, 5}, {1, 1, 4, 4}, {1, 1, 1, 1}, {"Mar 2"}, {"Jan 9"}},
      {{3, 2}, {1, 0, 3, 2}, {1, 0, 3, 2}, backwards, backwards},
      {{5, 0}, {1, 0, 5, 0}, {1, 0, 5, 0}, none, none},
      {{5, 2}, {1, 0, 5, 2}, {1, 0, 5, 2}, none, none}};
  for (const uint32_t id : {LOG_MESSAGES, LOG_APPLICATION}) {
    for (const auto& [range, query, fetch, messages, application] : cases) {
      SCOPED_TRACE(testing::Message() << id << ": " << range[0] << " to " << range[1]);
      EXPECT_EQ(QueryRange(module, Group(id), range[0], range[1]).Head(), query);
      const Reply reply = FetchRange(module, Group(id), range[0], range[1], 4);
      EXPECT_EQ(reply.Head(), fetch);
      Lines listed;
      for (const Row& row : reply.rows) {
        EXPECT_EQ(row.index, fetch[2] + listed.size());
        listed.push_back(row.values.back());
      }
      if (reply.messages.back() == Err("CompareRange", "begin line larger than end line!")) listed = backwards;
      EXPECT_EQ(listed, id == LOG_MESSAGES ? messages : application);
    }
    Reply reply = Fetch(module, Type(id, 7), 3);
    EXPECT_EQ(reply.Head(), (Head{0, 3, 0, 0}));
    EXPECT_EQ(reply.messages.back(), Err("GetLogConfigItem", "Not enough buffer!"));
    reply = FetchRange(module, Group(id), 1, 0, 3);
    EXPECT_EQ(reply.Head(), (Head{0, 3, 1, 0}));
    EXPECT_EQ(reply.messages.back(), Err("GetLogConfigItemEx", "Not enough buffer!"));
    reply = FetchRange(module, Group(id), 1, 2, 0);
    EXPECT_EQ(reply.Head(), (Head{0, 0, 1, 2}));
    EXPECT_EQ(reply.messages.back(), Dbg("GetLogConfigItemEx", "The range is 0!"));
    reply = Send(module, {SP_CONFIGITEMEX, Group(id), 5, false, 1, 2});
    EXPECT_EQ(reply.Head(), (Head{0, 5, 1, 2}));
    EXPECT_EQ(reply.messages.back(), Err("GetLogConfigItemEx", "The buffer error!"));
  }
}

TEST_F(ConfigItemTest, LinesOfEveryShape) {
  using namespace std::string_literals;
  const std::string head = "Jan  5 10:00:01 myhost ";
  const std::vector<std::pair<std::string, Lines>> cases = {
      {"Jan 15 10:00:01 myhost su: a: b", {"Jan 15", "10:00:01", "su", "myhost", "a: b"}},
      {head + "-- MARK --", {"Jan 05", "10:00:01", "", "myhost", "-- MARK --"}},
      {head + "kernel: x", {"Jan 05", "10:00:01", "kernel", "myhost", ""}},
      {"Jan  5 10:00:01 my:host", {"Jan 05", "10:00:01", "", "my:host", ""}},
      {"Jan  5 10:00:01  su: no host", {"Jan 05", "10:00:01", "su", "", "no host"}},
      {"Jan", {"Jan", "", "", "", ""}},
      {head + "su: before\0after: it"s, {"Jan 05", "10:00:01", "su", "myhost", "before"}},
      {head + "a\tb: \r\x1b[1m<&>\"'", {"Jan 05", "10:00:01", "a\tb", "myhost", "\r\x1b[1m<&>\"'"}},
      {head + "d\u00E6mon: \u20AC \U0001F600", {"Jan 05", "10:00:01", "d\u00E6mon", "myhost", "\u20AC \U0001F600"}},
      {head + "su: ab\xFF", {"Jan 05", "10:00:01", "su", "myhost", ""}},  // invalid text is empty
  };
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  for (const auto& [line, values] : cases) EXPECT_EQ(List(line), std::vector<Lines>{values});
  std::setlocale(LC_ALL, "C");
}

TEST_F(ConfigItemTest, LinesOfEveryLength) {
  const std::string head = "Jan 15 10:00:01 myhost kernel: ";  // of 31 characters
  const std::pair<size_t, size_t> cases[] = {{509, 478}, {510, 479}, {511, 479}, {1019, 479}};
  for (const auto& [length, message] : cases) {
    EXPECT_EQ(List(head + std::string(length - 31, 'm')).at(0).back(), std::string(message, 'm')) << length;
  }
  const std::string colonAt507 = "Jan 15 10:00:01 myhost " + std::string(507 - 23, 't') + ":";
  EXPECT_EQ(List(colonAt507 + std::string(90, 'm')).at(0).back(), "m");
  // From 1,020 characters on the rest is read as a line of its own, and takes the place of the last.
  const std::vector<Lines> rows = List(head + std::string(1023 - 31, 'm'), 2);
  EXPECT_EQ(rows.at(1), (Lines{"mmm", "", "", "", ""}));
  EXPECT_EQ(rows.at(2), (Lines{"zz", "", "", "", ""}));
}

}  // namespace
