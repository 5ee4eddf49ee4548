/// kestrune-host as its users run it: what it says and how it ends, and that it leaves nothing behind.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <set>
#include <string>

#include "tests/support/machine.h"

namespace {

struct Ended {
  int status;
  std::string out, err;
};

/// Runs shell lines, in which $host is kestrune-host.
Ended Type(const std::string& lines) {
  machine::WriteFile("/usr/zarp/lines", "host=" + std::string(std::getenv("KESTRUNE_HOST")) + "\n" + lines);
  const int status = std::system("/bin/sh /usr/zarp/lines >/usr/zarp/out 2>/usr/zarp/err </dev/null");
  return {WEXITSTATUS(status), machine::ReadFile("/usr/zarp/out"), machine::ReadFile("/usr/zarp/err")};
}

struct Case {
  const char* lines;
  int status;
  const char* out;  ///< a part of it; null: nothing at all
  const char* err;
};

void Check(const Case& c) {
  SCOPED_TRACE(c.lines);
  const Ended ended = Type(c.lines);
  EXPECT_EQ(ended.status, c.status) << ended.err;
  for (const auto& [found, part] : {std::pair(ended.out, c.out), std::pair(ended.err, c.err)}) {
    if (part == nullptr) {
      EXPECT_EQ(found, "");
    } else {
      EXPECT_NE(found.find(part), std::string::npos) << found << "\nlacks\n" << part;
    }
  }
}

constexpr const char* NONE = nullptr;

/// Three records: a fan, a temperature, an unknown sensor.
constexpr const char* RAW =
    "raw() { for i in 1 2 3; do printf "
    "\"\\\\00$i\\\\0\\\\2\\\\0\\\\0\\\\0\\\\140\\\\40\\\\0\\\\4\\\\4\\\\$i\\\\1\\\\127\\\\1\\\\2\"; done; }\n";

TEST(KestruneHost, SaysWhyALogIsMissing) {
  machine::Reset();
  machine::ScopedVariable locale("LC_ALL", "C.UTF-8");
  const Case cases[] = {
      {"$host logs", 0, "name  id  records\n",
       "note: application: /var/log/maillog is not there; /var/log/spooler is not there; /var/log/cron is not there\n"
       "note: secure: /var/log/secure is not there\n"},
      {"$host show secure", 1, NONE, "not offered: /var/log/secure is not there\n"},
      {"$host --no-controller show sel", 1, NONE, "not offered: there is no controller"},
      {"$host --no-controller dump-sel", 1, NONE, "dump-sel: there is no controller"},
      {"$host --no-controller save --sel /tmp/sel", 1, NONE, "save: there is no controller here (no device of one, "},
      {"$host write --level 1 text", 1, NONE, "write: no log daemon takes messages at /dev/log"},
      {": >/usr/zarp/raw; $host --sel /usr/zarp/raw show sel", 0, "date", "note: the controller's log is empty\n"},
      {"mkdir /var/log/secure; : >/var/log/messages; $host logs --all --format csv", 0,
       "secure,0xF9,0,/var/log/secure is a folder\r\nmessages,0xFA,0,/var/log/messages is empty\r\n", ""},
      {"echo 'Jun  1 10:00:00 box a: two words' >/var/log/messages; $host show messages", 0, "box   a       two words",
       NONE},
      {"echo '2026-11-25T10:00:00.1+00:00 box a: two words' >>/var/log/messages; $host show messages", 0, "2026-1",
       "note: lines not in the traditional form, Mmm dd hh:mm:ss host, whose fields are not what they seem: 1 of the "
       "newest 2"},
      {"printf 'Jun  1 10:00:00 box a: \\374\\n' >/var/log/messages; $host show messages", 0, "box",
       "note: lines that are no text in this locale, whose fields are left empty: 1 of the newest 1"},
      {"seq -f 'Jun  1 10:00:00 box a: %.0f' 30001 >/var/log/messages; $host show messages -n 1", 0, "30001\n",
       "[warning] Warn (kestrune:LogFilter): Log file is too big, filter last 30000 lines!\n"
       "note: only the last 30000 of 30001 lines are shown\n"},
      {"$host --module /nowhere/x.so logs", 1, NONE, "cannot load the module: /nowhere/x.so: "},
  };
  for (const Case& c : cases) Check(c);
  if (geteuid() != 0) return;
  const std::string plain = "setpriv --reuid 65534 --regid 65534 --clear-groups $host ";
  const std::pair<std::string, const char*> strangers[] = {
      {"chmod 600 /var/log/messages; " + plain + "show messages", "note: no right to read /var/log/messages: run"},
      {": >/var/log/cron; " + plain + "logs --all >&2", "no right to make /var/log/._app_log_.tmp: run this as root"},
      {"chmod 644 /var/log/messages; : >/tmp/._kestrune_cache; " + plain + "show messages",
       "note: /tmp/._kestrune_cache, a file of the module's, belongs to root here: run this as root"},
  };
  for (const auto& [lines, err] : strangers) Check({lines.c_str(), 0, "", err});
}

TEST(KestruneHost, AnswersWhatPeopleType) {
  machine::Reset();
  machine::WriteFile("/var/log/messages", "Jun  1 10:00:00 box a: one\nJun  1 10:00:01 box a: two\n");
  const std::string newest = "date,time,host,source,message\r\nJun 01,10:00:01,box,a,two\r\n";
  const std::string oldest = "date,time,host,source,message\r\nJun 01,10:00:00,box,a,one\r\n";
  for (const char* lines : {"-n 1", "--lines 1", "--lines -1", "--lines=-1", "--lines 1-1"}) {
    EXPECT_EQ(Type("$host show messages --format csv " + std::string(lines)).out, newest) << lines;
  }
  EXPECT_EQ(Type("$host show messages --format csv --lines 2-").out, oldest);
  const Case cases[] = {
      {"$host shwo", 2, NONE, "no sub-command 'shwo'; did you mean 'show'? See kestrune-host --help\n"},
      {"$host messages", 2, NONE, "did you mean 'show messages'? See kestrune-host --help\n"},
      {"$host --format csv show sel", 2, NONE, "stands after its sub-command: kestrune-host show ... --format;"},
      {"$host logs --lines 1", 2, NONE, "logs: '--lines' is an option of show alone; see kestrune-host logs --help\n"},
      {"$host show sel --lnes 1", 2, NONE, "did you mean '--lines'? See kestrune-host show --help\n"},
      {"$host show sel --lines 3-2", 2, NONE, "'3-2' is no range; allowed are A-B"},
      {"$host show sel -n 1 --lines 1", 2, NONE, "--lines excludes -n"},
      {"$host show sel --since today --until yesterday", 2, NONE, "show: --since is later than --until\n"},
      {"$host --ipmi-user x logs", 2, NONE, "--ipmi-user requires --ipmi"},
      {"$host --trace /dev/null logs", 1, NONE, "cannot write '/dev/null': File exists\n"},
      {"$host show messages --columns ''", 2, NONE, "--columns: '' is no column here"},
      {"$host show all --severity critical,", 2, NONE, "--severity: '' is none; allowed are"},
      {"$host --sel - --sensors - logs", 2, NONE, "cannot both be standard input"},
      {"$host show --help", 0, "(default: table)", NONE},
  };
  for (const Case& c : cases) Check(c);
}

/// A signal while the password is asked for.
TEST(KestruneHost, LeavesNoSilentTerminal) {
  machine::Reset();
  Check(
      {"mkfifo /usr/zarp/keyboard\n"  // on which nobody types: an end of input would be an answer
       "timeout 20 script -qec \"$host --ipmi 127.0.0.1:1 show sel & until stty -a | grep -q ' -echo '; do :; done;"
       "kill \\$!; wait \\$!; stty -a | grep -o ' echo '\" /dev/null <>/usr/zarp/keyboard",
       0, " echo ", NONE});
}

TEST(KestruneHost, ReadsPipesOnce) {
  machine::Reset();
  const std::string raw = std::string(RAW) + "mkfifo /usr/zarp/pipe\n";
  for (const char* lines : {"raw | $host --sel - logs --format csv",
                            "raw >/usr/zarp/pipe & $host --sel /usr/zarp/pipe logs --format csv"}) {
    Check({(raw + lines).c_str(), 0, "sel,0xFC,3\r\n", ""});
    machine::Remove("/usr/zarp/pipe");
  }
}

TEST(KestruneHost, CoversNoSELLogFile) {
  machine::Reset();
  const std::string raw = std::string(RAW) + "raw >/usr/zarp/raw; $host pack-sel /usr/zarp/raw /usr/zarp/log\n";
  Check(
      {(raw + "$host --sel /usr/zarp/raw --sel-log /usr/zarp/log logs --format csv").c_str(), 0, "sel,0xFC,6\r\n", ""});
  EXPECT_EQ(machine::Listing("/etc/zarp"), std::set<std::string>());
  machine::WriteFile("/etc/zarp/conf/ipmi.log", "mine");
  Check({"$host --sel /usr/zarp/raw --sel-log /usr/zarp/log logs", 1, NONE,
         "/etc/zarp/conf/ipmi.log, which stays as it is"});
  Check({"$host pack-sel /usr/zarp/raw /etc/zarp/conf/ipmi.log", 1, NONE, "exists; --force overwrites it"});
  EXPECT_EQ(machine::ReadFile("/etc/zarp/conf/ipmi.log"), "mine");
}

/// A signal that goes to the module's commands, too, as a terminal's does.
TEST(KestruneHost, LeavesNothingWhenASignalCame) {
  for (const auto& [signal, number] :
       {std::pair("TERM", SIGTERM), std::pair("INT", SIGINT), std::pair("HUP", SIGHUP)}) {
    for (const char* command : {"cp", "sort", "cat"}) {
      SCOPED_TRACE(std::string(signal) + " at " + command);
      machine::Reset();
      for (const char* name : {"maillog", "cron"})
        machine::WriteFile("/var/log/" + std::string(name), "Jun  1 10:00:00 b a: b\n");
      machine::WriteFile("/usr/zarp/log", "any");
      machine::Commands commands;
      commands.Before(command, "kill -" + std::string(signal) + " 0");
      const Ended ended = Type(
          "PATH=$PATH:/usr/bin; (exec setsid -w env --default-signal=HUP,INT,TERM $host --sel-log "
          "/usr/zarp/log show application >/usr/zarp/shown 2>&1); exit $?");
      EXPECT_EQ(ended.status, 128 + number);
      EXPECT_EQ(machine::ReadFile("/usr/zarp/shown"), "") << "the request came to its end";
      EXPECT_EQ(machine::Listing("/tmp"), std::set<std::string>());
      EXPECT_EQ(machine::Listing("/etc/zarp"), std::set<std::string>());
      EXPECT_EQ(machine::Listing("/var/log"), (std::set<std::string>{"cron", "maillog"}));
    }
  }
}

}  // namespace
