/// Log lines as items: how lines are cut, which lines a range holds, what a reply does to the host's arguments.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>

#include "tests/support/model.h"

namespace {

using Head = std::array<uint32_t, 4>;

constexpr char MESSAGES[] = "/var/log/messages";

class ConfigItemTest : public ModuleTest {
 protected:
  /// The values of the item of this line, the newest of a log of `others` further lines, all of which must agree with
  /// the model.
  Lines FirstValues(const std::string& line, uint32_t others = 1) {
    std::string log = line + "\n";
    for (uint32_t i = 0; i < others; ++i) log += "zz" + std::to_string(i) + "\n";
    machine::WriteFile(MESSAGES, log);
    machine::Remove("/tmp/._kestrune_cache");
    const Reply reply = Fetch(Start(), Group(LOG_MESSAGES), 1 + others);
    EXPECT_EQ(reply.Head(), (Head{1, 1 + others, 0, 0}));
    EXPECT_EQ(reply.rows, ModelRows(log, LOG_MESSAGES));
    return reply.rows.empty() ? Lines() : reply.rows[0].values;
  }
};

TEST_F(ConfigItemTest, PlainReplyAndItsCapacity) {
  const Lines paths = {"/var/log/cron", "/var/log/secure", MESSAGES, "/var/log/agent.log"};
  for (const std::string& path : paths) machine::WriteFile(path, MakeLog(12, path));
  const HostModule& module = Start();
  for (uint32_t i = 0; i < 4; ++i) {
    const uint32_t id = LOG_APPLICATION + i;
    for (const tagIDV& identifier : {Group(id, 7), Type(id, 7)}) {
      EXPECT_EQ(Query(module, identifier).Head(), (Head{1, 12, 0, 0}));
      for (const uint32_t capacity : {0U, 11U, 12U, 20U}) {
        const Reply reply = Fetch(module, identifier, capacity);
        EXPECT_EQ(reply.Head(), capacity < 12 ? (Head{0, capacity, 0, 0}) : (Head{1, 12, 0, 0}));
        EXPECT_EQ(reply.rows, capacity < 12 ? Rows() : ModelRows(MakeLog(12, paths[i]), id));
        if (capacity < 12) {
          EXPECT_EQ(reply.messages.back(), Err("GetLogConfigItem", "Not enough buffer!"));
        }
      }
    }
  }
  EXPECT_EQ(NewInTmp(), std::set<std::string>{"._kestrune_cache"});
}

TEST_F(ConfigItemTest, LogsThatAreMissingOrEmptyOrNoFiles) {
  machine::PlantLink(MESSAGES, "/dev/null");
  machine::PlantLink("/var/log/agent.log", "/dev/zero");
  machine::PlantFIFO("/var/log/cron");
  machine::WriteFile("/var/log/spooler", "");
  const HostModule& module = Start();
  alarm(60);  // a request that waits at the FIFO ends the test
  for (const uint32_t id : {LOG_APPLICATION, LOG_SECURE, LOG_MESSAGES, LOG_AGENT, LOG_SEL}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(Query(module, Group(id)).Head(), (Head{1, 0, 0, 0}));
    EXPECT_EQ(QueryRange(module, Group(id), 3, 9).Head(), (Head{1, 0, 3, 9}));
    EXPECT_EQ(FetchRange(module, Group(id), 3, 9, 4).Head(), (Head{1, 0, 3, 9}));
    const Reply reply = Fetch(module, Group(id), 4);
    EXPECT_EQ(reply.Head(), (Head{1, 0, 0, 0}));
    Lines said = {"2048 Dbg (kestrune): in OnGetConfigItem\n"};
    if (id == LOG_SECURE) said.push_back(Err("LogFilter", "File /var/log/secure doesn't exist!"));
    if (id == LOG_AGENT) said.push_back(Err("LogFilter", "File /var/log/agent.log doesn't exist!"));
    if (id == LOG_APPLICATION) said.emplace_back("2048 DBG (kestrune:LogFilter): no need merge!\n");
    if (id == LOG_APPLICATION || id == LOG_MESSAGES) said.push_back(Dbg("LogFilter", "empty file!"));
    EXPECT_EQ(reply.messages, said);
  }
  machine::Remove("/var/log/agent.log");
  machine::WriteFile("/var/log/agent.log", MakeLog(2));
  EXPECT_EQ(Query(module, Group(LOG_AGENT)).count, 2U) << "the device has gone";
  Query(module, Group(LOG_MESSAGES));
  for (const auto plant : {machine::PlantFIFO, machine::PlantFolder}) {
    machine::Remove("/var/log/agent.log");
    plant("/var/log/agent.log");
    EXPECT_EQ(Query(module, Group(LOG_AGENT)).messages.back(),
              Err("LogFilter", "File /var/log/agent.log doesn't exist!"));
  }
  alarm(0);
}

TEST_F(ConfigItemTest, RangesAtEveryEdge) {
  // Not in the order of months: a range follows the file, except in the merged log, which is sorted first.
  const std::string log =
      "Mar  2 10:00:00 h a: third\nJan 12 10:00:00 h a: first\nFeb  5 10:00:00 h a: second\nJan  9 10:00:00 h a: "
      "zero\n";
  machine::WriteFile(MESSAGES, log);
  machine::WriteFile("/var/log/spooler", log);
  const HostModule& module = Start();
  constexpr uint32_t TOTAL = 4;
  for (const uint32_t id : {LOG_MESSAGES, LOG_APPLICATION}) {
    for (const uint32_t begin : {0U, 1U, 3U, TOTAL, TOTAL + 1}) {
      for (const uint32_t end : {0U, 2U, TOTAL, 0xFFFFFFFFU}) {
        SCOPED_TRACE(testing::Message() << id << ": " << begin << " to " << end);
        const bool outside = begin > TOTAL;
        const uint32_t first = outside ? begin : std::max(begin, 1U);
        const uint32_t last = outside || (end != 0 && end <= TOTAL) ? end : TOTAL;
        const bool backwards = !outside && first > last;
        const uint32_t count = outside || backwards ? 0 : last - first + 1;
        const std::string complaint = Err("CompareRange", "begin line larger than end line!");
        Reply reply = QueryRange(module, Group(id), begin, end);
        EXPECT_EQ(reply.Head(), (Head{1, count, first, last}));
        EXPECT_EQ(reply.messages.back() == complaint, backwards);

        reply = FetchRange(module, Group(id), begin, end, TOTAL);
        EXPECT_EQ(reply.Head(),
                  count == 0 ? (Head{1, 0, begin, end}) : (Head{1, count, TOTAL - last + 1, TOTAL - first + 1}));
        EXPECT_EQ(reply.rows, count == 0 ? Rows() : ModelRows(log, id, first, last));
        EXPECT_EQ(reply.messages.back() == complaint, backwards);
        EXPECT_EQ(reply.messages.size(), 1U + (backwards ? 1 : 0) + (id == LOG_APPLICATION ? 1 : 0));
        if (count == TOTAL) {
          reply = FetchRange(module, Group(id), begin, end, count - 1);
          EXPECT_EQ(reply.Head(), (Head{0, count - 1, begin, end}));
          EXPECT_EQ(reply.messages.back(), Err("GetLogConfigItemEx", "Not enough buffer!"));
        }
      }
    }
    Reply reply = FetchRange(module, Group(id), 1, 2, 0);
    EXPECT_EQ(reply.Head(), (Head{0, 0, 1, 2}));
    EXPECT_EQ(reply.messages.back(), Dbg("GetLogConfigItemEx", "The range is 0!"));
    reply = Send(module, {SP_CONFIGITEMEX, Group(id), 5, false, 1, 2});
    EXPECT_EQ(reply.Head(), (Head{0, 5, 1, 2}));
    EXPECT_EQ(reply.messages.back(), Err("GetLogConfigItemEx", "The buffer error!"));
  }
}

TEST_F(ConfigItemTest, LinesOfEveryShape) {
  using namespace std::string_literals;
  const std::string head = "Jan  5 10:00:01 myhost ", date = "Jan 05", time = "10:00:01", host = "myhost";
  const std::vector<std::pair<std::string, Lines>> cases = {
      {head + "sshd[123]: Accepted password", {date, time, "sshd[123]", host, "Accepted password"}},
      {"Jan 15 10:00:01 myhost su: a: b", {"Jan 15", time, "su", host, "a: b"}},
      {head + "-- MARK --", {date, time, "", host, "-- MARK --"}},
      {head + "kernel: x", {date, time, "kernel", host, ""}},
      {head + "kernel: xy", {date, time, "kernel", host, "xy"}},
      {head + "kernel:", {date, time, "kernel", host, ""}},
      {head + "kernel:xyz", {date, time, "kernel", host, "yz"}},
      {head + "x", {date, time, "", host, ""}},
      {head, {date, time, "", host, ""}},
      {head + ": no tag", {date, time, "", host, "no tag"}},
      {"Jan  5 10:00:01 my:host", {date, time, "", "my:host", ""}},
      {"Jan  5 10:00:01  su: no host", {date, time, "su", "", "no host"}},
      {"Jan  5 10:00:01 ", {date, time, "", "", ""}},
      {"Jan  5 10:00", {date, "10:00", "", "", ""}},
      {"Jan  5", {date, "", "", "", ""}},
      {"Jan", {"Jan", "", "", "", ""}},
      {"Jan05XY10:00:01XYZ host", {"Jan05X", time, "", "YZ", "host"}},
      {head + "su: before\0behind: it"s, {date, time, "su", host, "before"}},
      {head + "s\0u: lost"s, {date, time, "", host, ""}},
      {head + "a\tb: \r\x1b[1m<&>\"'", {date, time, "a\tb", host, "\r\x1b[1m<&>\"'"}},
  };
  for (const auto& [line, values] : cases) {
    SCOPED_TRACE(line);
    EXPECT_EQ(FirstValues(line), values);
  }
}

TEST_F(ConfigItemTest, LinesOfEveryLength) {
  const std::string head = "Jan 15 10:00:01 myhost kernel: ";
  for (const size_t length : {508U, 509U, 510U, 511U, 700U, 1019U}) {
    const std::string line = head + std::string(length - head.size() - 1, 'm') + 'e';
    EXPECT_EQ(FirstValues(line).back(), line.substr(head.size(), 510 - head.size())) << length;
  }
  // From 1,020 characters on the rest is read as a line of its own, and takes the place of the last.
  for (const size_t length : {1020U, 1021U, 3000U}) FirstValues(head + std::string(length - head.size(), 'm'), 2);
  // The colon among the last characters of what is read.
  const std::vector<std::pair<size_t, std::string>> colons = {{507, "m"}, {508, ""}, {509, ""}};
  for (const auto& [colon, message] : colons) {
    const std::string line = "Jan 15 10:00:01 myhost " + std::string(colon - 23, 't') + ":" + std::string(90, 'm');
    EXPECT_EQ(FirstValues(line).back(), message) << colon;
    FirstValues(line.substr(0, 509));
  }
}

TEST_F(ConfigItemTest, ALogWhoseLastLineDoesNotEnd) {
  const std::string log = MakeLog(2) + "Jul  1 10:00:00 host su: unfinished";
  machine::WriteFile(MESSAGES, log);
  const HostModule& module = Start();
  EXPECT_EQ(Query(module, Group(LOG_MESSAGES)).count, 2U) << "newlines are counted";
  EXPECT_EQ(Fetch(module, Group(LOG_MESSAGES), 2).result, 0) << "sorting ends the line";
  EXPECT_EQ(Fetch(module, Group(LOG_MESSAGES), 3).rows, ModelRows(log, LOG_MESSAGES));
  EXPECT_EQ(FetchRange(module, Group(LOG_MESSAGES), 1, 1, 1).rows, ModelRows(MakeLog(2), LOG_MESSAGES, 1, 1));
}

TEST_F(ConfigItemTest, TextFollowsTheLocale) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  const Lines good = {"Jan 15", "10:00:01", "d\xC3\xA6mon", "h\xC3\xB6st", "\xE2\x82\xAC 5 \xF0\x9F\x98\x80"};
  machine::WriteFile(MESSAGES, good[0] + " " + good[1] + " " + good[3] + " " + good[2] + ": " + good[4] +
                                   "\nJan 15 10:00:01 host su: ab\xFF\n");
  const Reply reply = Fetch(Start(), Group(LOG_MESSAGES), 2);
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(reply.rows.at(0).values, good);
  EXPECT_EQ(reply.rows.at(1).values, (Lines{"Jan 15", "10:00:01", "su", "host", ""})) << "invalid text is empty";
}

}  // namespace
