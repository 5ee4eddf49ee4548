/// What happens between a log and its items: commands, files in /tmp and /var/log, the filter cache, the merged log.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <functional>

#include "tests/support/model.h"

namespace {

using Names = std::set<std::string>;
using Calls = std::multiset<std::string>;

const std::string MESSAGES = "/var/log/messages", SECURE = "/var/log/secure", CRON = "/var/log/cron";
const std::string CACHE = "/tmp/._kestrune_cache", MERGED = "/var/log/._app_log_.tmp";
const std::string EMPTY_FILE = Dbg("LogFilter", "empty file!");
const std::string FORMAT_ERROR = Err("LogFilter", "File format error, can not sort, please check log format.!");

std::string SeedWorkFile() { return machine::SeedTemporary("/tmp/__log__tmp"); }

class FilterTest : public ModuleTest {
 protected:
  uint32_t Count(uint32_t id) { return Query(Load(), Group(id)).count; }
};

TEST_F(FilterTest, CommandsOfAFetchAndARange) {
  machine::WriteFile(MESSAGES, MakeLog(5));
  machine::WriteFile(CRON, MakeLog(2));
  machine::Commands commands;
  const HostModule& module = Start();
  const std::string work = SeedWorkFile(), awk = "awk {print $1}", pad = "sed s/^\\(....\\) /\\10/";
  const std::string take = "cp -f " + CACHE + " " + work, count = "wc -l " + work;
  const std::string list = "sort -M -r " + work + "1", drop = "rm -f " + work + "1";
  EXPECT_EQ(Fetch(module, Group(LOG_APPLICATION), 2).count, 2U);
  EXPECT_EQ(
      commands.TakeCalls(),
      (Calls{"cat /dev/null", "cat " + CRON, "wc -l " + MERGED, awk, "cp -f " + MERGED + " " + CACHE, take,
             "sort -M " + work, "mv -f " + work + "1 " + work, count, awk, pad + " " + work, list, drop, count, awk}));
  Count(LOG_MESSAGES);
  commands.TakeCalls();
  SeedWorkFile();
  EXPECT_EQ(FetchRange(module, Group(LOG_MESSAGES), 1, 2, 2).count, 2U);
  EXPECT_EQ(commands.TakeCalls(), (Calls{take, count, awk, "sed -n 4,5p " + work, pad, list, drop, count, awk}));
}

TEST_F(FilterTest, ThirtyThousandLines) {
  const std::string log = MakeLog(30000);
  machine::WriteFile(MESSAGES, log);
  machine::WriteFile(SECURE, "Jan  1 00:00:00 host su: this one is too much\n" + log);
  const HostModule& module = Start();
  for (const uint32_t id : {LOG_MESSAGES, LOG_SECURE}) {
    const Reply first = Query(module, Group(id));
    EXPECT_EQ(first.count, 30000U);
    EXPECT_EQ(first.messages.back() == "512 Warn (kestrune:LogFilter): Log file is too big, filter last 30000 lines!\n",
              id == LOG_SECURE);
    const Reply reply = Fetch(module, Group(id), 30000);
    EXPECT_EQ(reply.messages.size(), 1U) << "the cache is cut once";
    EXPECT_TRUE(reply.rows == LogRows(id, 30000));
    EXPECT_EQ(FetchRange(module, Group(id), 29999, 0, 2).rows, LogRows(id, 30000, "app", 29999, 30000));
  }
  machine::Remove(CACHE);
  {
    machine::Commands commands;
    commands.Before("tail", "$real \"$@\" | awk '{ printf \"%s%s\", NR > 1 ? \"\\n\" : \"\", $0 }'; exit");
    EXPECT_EQ(Count(LOG_SECURE), 0U) << "cut short by one byte";
  }
  machine::AppendFile(SECURE, "Jun 30 10:00:00 host su: unfinished");
  EXPECT_EQ(Count(LOG_SECURE), 29999U) << "the last line does not end";
}

TEST_F(FilterTest, TheCacheHoldsOneLogUntilAnotherIsAskedForOrItIsGone) {
  machine::WriteFile(MESSAGES, MakeLog(3));
  machine::WriteFile(SECURE, MakeLog(1));
  Start();
  const auto countAfterGrowth = [this] {
    machine::AppendFile(MESSAGES, "Jun 30 10:00:00 host su: one more\n");
    return Count(LOG_MESSAGES);
  };
  EXPECT_EQ(Count(LOG_MESSAGES), 3U);
  EXPECT_EQ(countAfterGrowth(), 3U) << "the same log: the copy serves";
  EXPECT_EQ(Count(LOG_AGENT), 0U);
  EXPECT_EQ(Count(LOG_MESSAGES), 3U) << "a missing log does not take its place";
  EXPECT_EQ(Count(LOG_SECURE), 1U);
  EXPECT_EQ(Count(LOG_MESSAGES), 4U) << "another log came in between";
  machine::Remove(CACHE);
  EXPECT_EQ(countAfterGrowth(), 5U) << "the copy was gone";
  machine::WriteFile("/tmp/other", MakeLog(2));
  std::rename("/tmp/other", CACHE.c_str());
  EXPECT_EQ(countAfterGrowth(), 6U) << "another file is not the copy";
  EXPECT_EQ(Load().SPUninitialize(), 1);
  EXPECT_EQ(NewInTmp(), Names());
  Start();
  EXPECT_EQ(countAfterGrowth(), 7U) << "a stop takes the copy away";
}

TEST_F(FilterTest, MergingFollowsTheNewestTime) {
  const std::string mail = "/var/log/maillog", spooler = "/var/log/spooler";
  const auto write = [](const std::string& path, const std::string& content, time_t time) {
    machine::WriteFile(path, content);
    machine::SetTime(path, time);
  };
  const auto merges = [this] {
    const Lines said = Query(Load(), Group(LOG_APPLICATION)).messages;
    return std::count(said.begin(), said.end(), "2048 DBG (kestrune:LogFilter): no need merge!\n") == 0;
  };
  write(mail, "mail\n", 300);
  write(spooler, "spooler\n", 400);
  write(CRON, "cron\n", 500);
  machine::WriteFile(SECURE, "");
  Start();
  EXPECT_TRUE(merges());
  EXPECT_EQ(machine::ReadFile(MERGED), "mail\nspooler\ncron\n");
  EXPECT_FALSE(merges()) << "each log was as new as it is now";
  write(CRON, "more\ncron\n", 500);
  EXPECT_FALSE(merges()) << "no newer than the newest";
  write(CRON, "more\ncron\n", 501);
  EXPECT_TRUE(merges()) << "newer";
  EXPECT_EQ(Count(LOG_APPLICATION), 3U) << "the cache still holds the log as it was";
  Count(LOG_SECURE);
  EXPECT_EQ(Count(LOG_APPLICATION), 4U);
  machine::Remove(mail);
  EXPECT_FALSE(merges()) << "a log that is gone is no change";
  machine::Remove(MERGED);
  EXPECT_TRUE(merges()) << "the merged log is gone";
  EXPECT_EQ(machine::ReadFile(MERGED), "spooler\nmore\ncron\n");
  write(CRON, "cron\n", 450);
  machine::Remove(MERGED);
  EXPECT_TRUE(merges());
  write(spooler, "spooler\n", 451);
  EXPECT_TRUE(merges()) << "times counted from the start when it was gone";
  for (const std::string& path : {spooler, CRON, MERGED}) machine::Remove(path);
  EXPECT_TRUE(merges()) << "no log is left";
  EXPECT_EQ(machine::ReadFile(MERGED), "");
  EXPECT_FALSE(merges());
  EXPECT_EQ(Load().SPUninitialize(), 1);
  EXPECT_EQ(machine::Listing("/var/log"), Names{"secure"});
}

TEST_F(FilterTest, CommandsThatAreMissingOrDisturbed) {
  const std::string cut = "$real \"$@\" | awk '{print; exit}'; exit";
  const std::string cutInALine =
      "$real \"$@\" | awk 'NR > 1 { print last } { last = $0 } END { printf \"%s\", substr(last, 1, 30) }'; exit";
  const auto swap = [](const std::string& file) {
    return "[ $2 = " + file + " ] || exec $real \"$@\"; printf 'a\\nb\\nc\\n' >/tmp/strange; /bin/mv -f /tmp/strange " +
           file;
  };
  // Once the result is counted, which is done after the second file was removed.
  const auto atLast = [](const std::string& script) {
    return "if grep -q ^rm /usr/zarp/commands; then " + script + "; exit; fi";
  };
  const auto noRoom = [](const std::string& where, const std::string& file) {
    return Err(where, "Can't write all of file " + file + "!");
  };
  const auto replaced = [](const std::string& file) {
    return Err("LogFilter", "File " + file + " was replaced by somebody else!");
  };
  machine::WriteFile(CRON, MakeLog(3));
  const struct {
    const char* command;
    std::string script;  // empty: the command is missing
    uint32_t id;
    int count;            // of a fetch; -1: it fails
    std::string message;  // among others, if it matters
  } cases[] = {
      {"sort", "", LOG_MESSAGES, 0, FORMAT_ERROR},
      {"wc", "", LOG_MESSAGES, 0, EMPTY_FILE},
      {"cp", "", LOG_MESSAGES, 0, noRoom("LogFilter", CACHE)},
      {"mv", "", LOG_APPLICATION, 0, EMPTY_FILE},
      {"rm", "", LOG_MESSAGES, 3, ""},
      {"cp", "rm -f /var/log/messages", LOG_MESSAGES, 0, EMPTY_FILE},
      {"cp", "case $3 in /tmp/__*) awk '{print; exit}' $2 >$3; exit;; esac", LOG_MESSAGES, 0, EMPTY_FILE},
      {"cp", "case $2 in /var/*) head -1 $2 >/tmp/new; /bin/mv -f /tmp/new $2;; esac", LOG_MESSAGES, 1, ""},
      {"sort", cut, LOG_MESSAGES, 0, FORMAT_ERROR},
      {"sort", cut, LOG_APPLICATION, 0, EMPTY_FILE},
      {"sed", cut, LOG_MESSAGES, 0, FORMAT_ERROR},
      {"sed", cutInALine, LOG_MESSAGES, 0, FORMAT_ERROR},
      {"cat", cut, LOG_APPLICATION, 0, noRoom("LogMerger", MERGED)},
      {"cp", swap(CACHE), LOG_MESSAGES, 0, replaced(CACHE)},
      {"cp", swap(MERGED), LOG_APPLICATION, 0, replaced(MERGED)},
      {"wc", swap(MERGED), LOG_APPLICATION, 0, replaced(MERGED)},
      {"wc", atLast("$real \"$@\"; rm -f \"$2\""), LOG_MESSAGES, -1, Err("FillConfigItem", "Can't open tmp log file!")},
      {"wc", atLast("echo 4"), LOG_MESSAGES, 3, ""},
  };
  for (const auto& c : cases) {
    for (const bool ranged : {false, true}) {
      SCOPED_TRACE(testing::Message() << c.command << " " << c.script << " for " << c.id << ", ranged " << ranged);
      machine::WriteFile(MESSAGES, MakeLog(3));
      Start();
      {
        machine::Commands commands;
        c.script.empty() ? commands.Drop(c.command) : commands.Before(c.command, c.script);
        const Reply reply = ranged ? FetchRange(Load(), Group(c.id), 1, 0, 4) : Fetch(Load(), Group(c.id), 4);
        EXPECT_EQ(reply.result == 1 ? static_cast<int>(reply.count) : -1, c.count);
        EXPECT_EQ(reply.rows, LogRows(c.id, std::max(c.count, 0)));
        EXPECT_TRUE(c.message.empty() || std::ranges::count(reply.messages, c.message) == 1);
        commands.TakeCalls();
      }
      machine::WriteFile(MESSAGES, MakeLog(3));
      if (c.count == 1) machine::Remove(CACHE);
      EXPECT_EQ(Fetch(Load(), Group(c.id), 3).rows, LogRows(c.id, 3)) << "afterwards";
      Unload();
      EXPECT_EQ(NewInTmp(), Names());
    }
  }
}

TEST_F(FilterTest, AnUnfinishedLastLineIsListedWholeOrNotAtAll) {
  machine::WriteFile(MESSAGES, MakeLog(3) + "Jan  1 10:00:00 host app: this line has no newline yet");
  Start();
  machine::Commands commands;
  EXPECT_EQ(Count(LOG_MESSAGES), 3U) << "newlines are counted";
  EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 3).result, 0) << "sorting ends the line";
  EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 4).rows.back().values.back(), "this line has no newline yet");
  commands.Before("sort", "$real \"$@\" | awk '{ print substr($0, 1, 40) }'; exit");
  EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 4).count, 0U);
}

TEST_F(FilterTest, PlantedNamesAreNeitherFollowedNorWrittenThrough) {
  machine::WriteFile(CRON, MakeLog(4));
  const std::string work = SeedWorkFile();
  for (const std::string& name : {CACHE, MERGED, work, work + "1"}) {
    PlantAt(name, [this] {
      Start();
      SeedWorkFile();
      EXPECT_EQ(Fetch(Load(), Group(LOG_APPLICATION), 4).rows, LogRows(LOG_APPLICATION, 4));
      Unload();
    });
  }
}

TEST_F(FilterTest, NothingIsMadeWhereAllMayWriteAndNothingIsSticky) {
  machine::WriteFile(MESSAGES, MakeLog(2));
  machine::WriteFile(CRON, MakeLog(2));
  for (const bool merged : {false, true}) {
    const char* folder = merged ? "/var/log" : "/tmp";
    const tagIDV log = Group(merged ? LOG_APPLICATION : LOG_MESSAGES);
    Start();
    struct stat before {};
    ASSERT_EQ(stat(folder, &before), 0);
    ASSERT_EQ(chmod(folder, 0777), 0);
    const Reply reply = Fetch(Load(), log, 2);
    EXPECT_EQ(reply.Head(), (std::array<uint32_t, 4>{1, 0, 0, 0}));
    EXPECT_EQ(reply.messages.at(1), Err("PrivateFile", "Can't make file " + (merged ? MERGED : CACHE) +
                                                           ": its folder is writable for all and not sticky!"));
    EXPECT_EQ(machine::Listing(folder).count(merged ? "._app_log_.tmp" : "._kestrune_cache"), 0U);
    ASSERT_EQ(chmod(folder, 0775), 0);
    EXPECT_EQ(Fetch(Load(), log, 2).count, 2U) << "its group is trusted";
    ASSERT_EQ(chmod(folder, before.st_mode & 07777), 0);
    Unload();
  }
}

}  // namespace
