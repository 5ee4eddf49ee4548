/// What happens between a log and its items: commands, files in /tmp and /var/log, the filter cache, the merged log.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "tests/support/model.h"

namespace {

using Names = std::set<std::string>;

const std::string MESSAGES = "/var/log/messages", SECURE = "/var/log/secure", CRON = "/var/log/cron";
const std::string CACHE = "/tmp/._kestrune_cache", MERGED = "/var/log/._app_log_.tmp";
const std::string EMPTY_FILE = Dbg("LogFilter", "empty file!");
const std::string FORMAT_ERROR = Err("LogFilter", "File format error, can not sort, please check log format.!");

/// Makes the next work file's name known.
std::string SeedWorkFile() {
  srandom(7);
  const long number = random();
  srandom(7);
  return "/tmp/__log__tmp." + std::to_string(number);
}

class FilterTest : public ModuleTest {
 protected:
  uint32_t Count(uint32_t id) { return Query(Load(), Group(id)).count; }
};

TEST_F(FilterTest, CommandsOfEachRequest) {
  machine::WriteFile(MESSAGES, MakeLog(5));
  machine::WriteFile("/var/log/maillog", MakeLog(3));
  machine::WriteFile(CRON, MakeLog(2));
  machine::Commands commands;
  const HostModule& module = Start();
  const std::string work = SeedWorkFile();
  const auto count = [](const std::string& path) { return Lines{"wc -l " + path, "awk {print $1}"}; };
  const auto copy = [](const std::string& path) { return Lines{"cp -f " + path + " " + CACHE}; };
  const Lines take = {"cp -f " + CACHE + " " + work}, pad = {"sed s/^\\(....\\) /\\10/ " + work};
  const Lines range = {"sed -n 4,5p " + work, "sed s/^\\(....\\) /\\10/"};
  const Lines list = {"sort -M -r " + work + "1", "rm -f " + work + "1"};
  const Lines sort = {"sort -M " + work, "mv -f " + work + "1 " + work};
  const Lines merge = {"cat /dev/null", "cat /var/log/maillog", "cat " + CRON};
  const tagIDV messages = Group(LOG_MESSAGES), merged = Group(LOG_APPLICATION);
  const struct {
    ItemRequest request;
    std::vector<Lines> commands;
    int drawn = 1;  // random numbers
  } cases[] = {
      {{SP_CONFIGITEM, messages}, {count(MESSAGES), copy(MESSAGES), take, count(work)}},
      {{SP_PROPERTY, messages, 1, true}, {take, count(work)}},
      {{SP_CONFIGITEM, messages, 5, true}, {take, count(work), pad, list, count(work)}},
      {{SP_CONFIGITEMEX, messages, 0, false, 1, 2}, {take, count(work)}},
      {{SP_CONFIGITEMEX, messages, 2, true, 1, 2}, {take, count(work), range, list, count(work)}},
      {{SP_CONFIGITEMEX, messages, 2, true, 6, 7}, {take, count(work)}},
      {{SP_CONFIGITEMEX, messages, 2, true, 3, 2}, {take, count(work)}},
      {{SP_CONFIGITEM, merged}, {merge, count(MERGED), copy(MERGED), take, count(work)}},
      {{SP_CONFIGITEM, merged, 5, true}, {take, sort, count(work), pad, list, count(work)}},
      {{SP_CONFIGITEMEX, merged, 2, true, 1, 2}, {take, sort, count(work), range, list, count(work)}},
      {{SP_CONFIGITEM, Group(LOG_SECURE), 5, true}, {}},
      {{SP_PROPERTY, Type(CONFIG_TYPE_LOG, 0)}, {}, 0},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    std::multiset<std::string> expected;
    for (const Lines& lines : cases[i].commands) expected.insert(lines.begin(), lines.end());
    SeedWorkFile();
    EXPECT_EQ(Send(module, cases[i].request).result, 1);
    EXPECT_EQ(commands.TakeCalls(), expected);
    const long next = random();
    SeedWorkFile();
    if (cases[i].drawn == 1) random();
    EXPECT_EQ(next, random()) << "numbers drawn";
  }
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
    EXPECT_TRUE(reply.rows == ModelRows(log, id));
    EXPECT_EQ(FetchRange(module, Group(id), 29999, 0, 2).rows, ModelRows(log, id, 29999, 30000));
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
  machine::WriteFile("/tmp/victim", MakeLog(9));
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
  machine::PlantLink(CACHE, "/tmp/victim");
  EXPECT_EQ(countAfterGrowth(), 6U) << "a link is not the copy";
  machine::WriteFile("/tmp/other", MakeLog(2));
  std::rename("/tmp/other", CACHE.c_str());
  EXPECT_EQ(countAfterGrowth(), 7U) << "another file is not the copy";
  EXPECT_EQ(Load().SPUninitialize(), 1);
  EXPECT_EQ(NewInTmp(), Names{"victim"});
  Start();
  EXPECT_EQ(countAfterGrowth(), 8U) << "a stop takes the copy away";
  EXPECT_EQ(machine::ReadFile("/tmp/victim"), MakeLog(9));
  machine::Remove("/tmp/victim");
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
  write(mail, "mail\n", 500);
  write(spooler, "spooler\n", 400);
  write(CRON, "cron\n", 300);
  machine::WriteFile(SECURE, "");
  Start();
  EXPECT_TRUE(merges());
  EXPECT_EQ(machine::ReadFile(MERGED), "mail\nspooler\ncron\n");
  EXPECT_FALSE(merges());
  write(CRON, "more\ncron\n", 500);
  EXPECT_FALSE(merges()) << "no newer than the newest";
  write(CRON, "more\ncron\n", 501);
  EXPECT_TRUE(merges()) << "newer";
  EXPECT_EQ(machine::ReadFile(MERGED), "mail\nspooler\nmore\ncron\n");
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
  machine::WriteFile("/var/log/victim", "victim");
  machine::PlantLink(MERGED, "/var/log/victim");
  EXPECT_TRUE(merges()) << "a link is not the merged log";
  EXPECT_EQ(machine::ReadFile(MERGED), "spooler\ncron\n");
  EXPECT_EQ(machine::ReadFile("/var/log/victim"), "victim");
  for (const std::string& path : {spooler, CRON, MERGED}) machine::Remove(path);
  EXPECT_TRUE(merges()) << "no log is left";
  EXPECT_EQ(machine::ReadFile(MERGED), "");
  EXPECT_FALSE(merges());
  EXPECT_EQ(Load().SPUninitialize(), 1);
  EXPECT_EQ(machine::Listing("/var/log"), (Names{"secure", "victim"}));
}

TEST_F(FilterTest, CommandsThatAreMissingOrDisturbed) {
  const std::string log = MakeLog(3);
  const std::string cutInALine =
      "$real \"$@\" | awk 'NR > 1 { print last } { last = $0 } END { printf \"%s\", substr(last, 1, 30) }'; exit";
  const std::string cut = "$real \"$@\" | awk '{print; exit}'; exit";
  const auto swap = [](const std::string& file) {
    return "[ $2 = " + file + " ] || exec $real \"$@\"; printf 'a\\nb\\nc\\n' >/tmp/strange; /bin/mv -f /tmp/strange " +
           file;
  };
  const auto noRoom = [](const std::string& where, const std::string& file) {
    return Err(where, "Can't write all of file " + file + "!");
  };
  const auto replaced = [](const std::string& file) {
    return Err("LogFilter", "File " + file + " was replaced by somebody else!");
  };
  const std::string swapCache = swap(CACHE), swapMerged = swap(MERGED);
  machine::WriteFile(CRON, log);
  const struct {
    const char* command;
    const char* script;  // null: the command is missing
    uint32_t id;
    int32_t result;  // of a fetch, as the count and one of the messages, if it matters
    uint32_t count;
    std::string message;
  } cases[] = {
      {"sort", nullptr, LOG_MESSAGES, 1, 0, FORMAT_ERROR},
      {"sort", nullptr, LOG_APPLICATION, 1, 0, EMPTY_FILE},
      {"sed", nullptr, LOG_MESSAGES, 1, 0, FORMAT_ERROR},
      {"wc", nullptr, LOG_MESSAGES, 1, 0, EMPTY_FILE},
      {"awk", nullptr, LOG_MESSAGES, 1, 0, EMPTY_FILE},
      {"cp", nullptr, LOG_MESSAGES, 1, 0, noRoom("LogFilter", CACHE)},
      {"cat", nullptr, LOG_APPLICATION, 1, 0, Err("LogFilter", "File " + MERGED + " doesn't exist!")},
      {"mv", nullptr, LOG_APPLICATION, 1, 0, EMPTY_FILE},
      {"rm", nullptr, LOG_MESSAGES, 1, 3, ""},
      {"wc", "rm -f /var/log/messages", LOG_MESSAGES, 1, 0, EMPTY_FILE},
      {"cp", "rm -f /var/log/messages", LOG_MESSAGES, 1, 0, EMPTY_FILE},
      {"sort", "rm -f /var/log/messages /tmp/._kestrune_cache", LOG_MESSAGES, 1, 3, ""},
      {"cp", "case $3 in /tmp/__*) awk '{print; exit}' $2 >$3; exit;; esac", LOG_MESSAGES, 1, 0, EMPTY_FILE},
      {"sort", cut.c_str(), LOG_MESSAGES, 1, 0, FORMAT_ERROR},
      {"sort", cut.c_str(), LOG_APPLICATION, 1, 0, EMPTY_FILE},
      {"sed", cut.c_str(), LOG_MESSAGES, 1, 0, FORMAT_ERROR},
      {"sed", cutInALine.c_str(), LOG_MESSAGES, 1, 0, FORMAT_ERROR},
      {"cat", cut.c_str(), LOG_APPLICATION, 1, 0, noRoom("LogMerger", MERGED)},
      {"sed", "rm -f /tmp/__log__tmp.*", LOG_MESSAGES, 1, 0, FORMAT_ERROR},
      {"cp", swapCache.c_str(), LOG_MESSAGES, 1, 0, replaced(CACHE)},
      {"cp", swapMerged.c_str(), LOG_APPLICATION, 1, 0, replaced(MERGED)},
      {"wc", swapMerged.c_str(), LOG_APPLICATION, 1, 0, replaced(MERGED)},
      // The result vanishes once it was counted, which is done after the second file was removed.
      {"wc", "if grep -q ^rm /usr/zarp/commands; then $real \"$@\"; rm -f \"$2\"; exit; fi", LOG_MESSAGES, 0, 3,
       Err("FillConfigItem", "Can't open tmp log file!")},
  };
  for (const auto& c : cases) {
    for (const bool ranged : {false, true}) {
      SCOPED_TRACE(testing::Message() << c.command << " for " << c.id << ", ranged " << ranged);
      machine::WriteFile(MESSAGES, log);
      machine::WriteFile(SECURE, "");
      Start();
      {
        machine::Commands commands;
        c.script == nullptr ? commands.Drop(c.command) : commands.Before(c.command, c.script);
        const Reply reply = ranged ? FetchRange(Load(), Group(c.id), 1, 0, 3) : Fetch(Load(), Group(c.id), 3);
        EXPECT_EQ(reply.result, c.result);
        EXPECT_EQ(reply.count, c.count);
        EXPECT_EQ(reply.rows, c.result == 1 && c.count == 3 ? ModelRows(log, c.id) : Rows());
        if (!c.message.empty()) {
          EXPECT_EQ(std::count(reply.messages.begin(), reply.messages.end(), c.message), 1);
        }
        commands.TakeCalls();
      }
      machine::WriteFile(MESSAGES, log);
      EXPECT_EQ(Fetch(Load(), Group(c.id), 3).rows, ModelRows(log, c.id)) << "afterwards";
      Unload();
      EXPECT_EQ(NewInTmp(), Names());
    }
  }
}

TEST_F(FilterTest, AnUnfinishedLastLineIsListedWholeOrNotAtAll) {
  machine::WriteFile(MESSAGES, MakeLog(3) + "Jan  1 10:00:00 host app: this line has no newline yet");
  Start();
  machine::Commands commands;
  EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 4).rows.back().values.back(), "this line has no newline yet");
  commands.Before("sort", "$real \"$@\" | awk '{ print substr($0, 1, 40) }'; exit");
  EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 4).count, 0U);
}

TEST_F(FilterTest, PlantedNamesAreNeitherFollowedNorWrittenThrough) {
  machine::WriteFile(CRON, MakeLog(4));
  const Rows expected = ModelRows(MakeLog(4), LOG_APPLICATION);
  const std::string work = SeedWorkFile();
  for (const std::string& name : {CACHE, MERGED, work, work + "1"}) {
    const std::string folder = name.substr(0, name.rfind('/')), victim = folder + "/victim",
                      target = folder + "/target";
    for (const std::string kind : {"link", "dangling link", "hard link", "FIFO", "stranger's file", "folder"}) {
      SCOPED_TRACE(testing::Message() << kind << " at " << name);
      machine::WriteFile(victim, "victim");
      if (kind == "folder") machine::PlantFolder(name);
      if (kind == "link") machine::PlantLink(name, victim);
      if (kind == "dangling link") machine::PlantLink(name, target);
      if (kind == "hard link") machine::PlantHardLink(name, victim);
      if (kind == "FIFO") machine::PlantFIFO(name);
      if (kind == "stranger's file") machine::PlantStrangersFile(name);
      Start();
      SeedWorkFile();
      alarm(60);  // a request that waits at a FIFO ends the test
      const Reply reply = Fetch(Load(), Group(LOG_APPLICATION), 4);
      alarm(0);
      EXPECT_EQ(reply.result, 1);
      EXPECT_EQ(reply.rows, expected);
      EXPECT_EQ(machine::ReadFile(victim), "victim");
      EXPECT_EQ(machine::Listing(folder).count("target"), 0U);
      Unload();
      EXPECT_EQ(machine::RemoveAside(name), kind == "folder" ? 1 : 0);
      machine::Remove(victim);
      EXPECT_EQ(NewInTmp(), Names());
      EXPECT_EQ(machine::Listing("/var/log"), Names{"cron"});
    }
  }
}

TEST_F(FilterTest, NothingIsMadeWhereAllMayWriteAndNothingIsSticky) {
  machine::WriteFile(MESSAGES, MakeLog(2));
  machine::WriteFile(CRON, MakeLog(2));
  const struct {
    const char* folder;
    uint32_t id;
    std::string file;
  } cases[] = {{"/tmp", LOG_MESSAGES, CACHE}, {"/var/log", LOG_APPLICATION, MERGED}};
  for (const auto& c : cases) {
    Start();
    struct stat before {};
    ASSERT_EQ(stat(c.folder, &before), 0);
    ASSERT_EQ(chmod(c.folder, 0777), 0);
    const Reply reply = Fetch(Load(), Group(c.id), 2);
    EXPECT_EQ(reply.Head(), (std::array<uint32_t, 4>{1, 0, 0, 0}));
    EXPECT_EQ(reply.messages.at(1),
              Err("PrivateFile", "Can't make file " + c.file + ": its folder is writable for all and not sticky!"));
    EXPECT_EQ(access(c.file.c_str(), F_OK), -1);
    ASSERT_EQ(chmod(c.folder, 0775), 0);
    EXPECT_EQ(Fetch(Load(), Group(c.id), 2).count, 2U) << "its group is trusted";
    ASSERT_EQ(chmod(c.folder, before.st_mode & 07777), 0);
    Unload();
  }
}

TEST_F(FilterTest, FilesArePrivateWhateverTheMask) {
  machine::WriteFile(CRON, MakeLog(4));
  machine::PlantFolder("/usr/zarp/seen");
  machine::Commands commands;
  commands.Before("sort", "cp -p " + CACHE + " " + MERGED + " /tmp/__log__tmp.* /usr/zarp/seen/");
  Start();
  for (const mode_t mask : {0U, 0777U}) {
    machine::Remove(MERGED);
    machine::Remove(CACHE);
    const mode_t before = umask(mask);
    EXPECT_EQ(Fetch(Load(), Group(LOG_APPLICATION), 4).count, 4U);
    umask(before);
    const Names seen = machine::Listing("/usr/zarp/seen");
    EXPECT_EQ(seen.size(), 4U);
    for (const std::string& name : seen) {
      struct stat status {};
      EXPECT_EQ(stat(("/usr/zarp/seen/" + name).c_str(), &status), 0);
      EXPECT_EQ(status.st_mode & 07777, 0600U) << name << " with mask " << mask;
    }
    machine::PlantFolder("/usr/zarp/seen");
  }
}

}  // namespace
