/// Other processes on the machine that have the module loaded too, that were killed with it, or that hold its lock.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>

#include "tests/support/model.h"
#include "tests/support/sel.h"

namespace {

using Names = std::set<std::string>;

/// A process of this test's, which does `work` and ends with status 0 if nothing has failed in it.
class Process {
 public:
  explicit Process(const std::function<void()>& work) : id_(fork()) {
    if (id_ != 0) return;
    work();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  ~Process() {
    if (id_ != 0) kill(id_, SIGKILL);
    Wait();
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Its status as waitpid has it; -1 when it was waited for already.
  int Wait() {
    int status = -1;
    if (id_ != 0) waitpid(id_, &status, 0);
    id_ = 0;
    return status;
  }

 private:
  pid_t id_;
};

class ProcessesTest : public SELTest {
 protected:
  const std::string lockFile_ =
      geteuid() == 0 ? "/run/kestrune.lock" : "/run/user/" + std::to_string(geteuid()) + "/kestrune.lock";

  ProcessesTest() {
    for (const char* name : {"messages", "secure", "cron"}) {
      machine::WriteFile(std::string("/var/log/") + name, MakeLog(40, name));
    }
    for (const uid_t user : {geteuid(), uid_t{65534}}) {
      const std::string folder = "/run/user/" + std::to_string(user);
      machine::PlantFolder(folder);
      if (geteuid() == 0) {
        EXPECT_EQ(chown(folder.c_str(), user, user), 0);
      }
    }
    Host().sel = MakeSEL(PlainRecords("ab"));
  }

  /// Asks for the logs in turn, as often as KESTRUNE_REQUESTS says. Every answer is the whole log asked for; or, where
  /// `mayFail`, an empty one with an error message, but for `atLeast` of a hundred.
  void AskFor(const std::vector<std::string>& logs, bool mayFail, int atLeast) {
    const char* requests = std::getenv("KESTRUNE_REQUESTS");
    const int rounds = requests != nullptr ? std::atoi(requests) : 60;
    int right = 0;
    Start();
    for (int i = 0; i < rounds && !HasFailure(); ++i) {
      const std::string& name = logs[static_cast<size_t>(i) % logs.size()];
      const uint32_t id = name == "cron" ? LOG_APPLICATION : name == "secure" ? LOG_SECURE : LOG_MESSAGES;
      const Reply reply = Fetch(Load(), Group(id), 40);
      EXPECT_EQ(reply.result, 1);
      if (mayFail && reply.count == 0) {
        EXPECT_TRUE(std::ranges::any_of(reply.messages, [](const auto& line) { return line.starts_with("256 "); }));
        continue;
      }
      EXPECT_EQ(reply.rows, LogRows(id, 40, name));
      ++right;
    }
    EXPECT_GE(right, atLeast * rounds / 100);
    Unload();
  }
};

TEST_F(ProcessesTest, EachGetsTheLogThatItAskedFor) {
  Process one([this] { AskFor({"messages", "cron"}, false, 100); });
  Process other([this] { AskFor({"secure", "cron", "messages"}, false, 100); });
  EXPECT_EQ(one.Wait(), 0);
  EXPECT_EQ(other.Wait(), 0);
  EXPECT_EQ(NewInTmp(), Names());
}

/// kestrune-host, run again and again beside an agent, which must not notice, and the other way round.
TEST_F(ProcessesTest, KestruneHostDisturbsNoAgent) {
  const char* host = std::getenv("KESTRUNE_HOST");
  if (host == nullptr) GTEST_SKIP() << "built without kestrune-host";
  Process agent([this] { AskFor({"messages", "cron", "secure"}, false, 100); });
  Process user([&] {
    for (int i = 0; i < 20 && !HasFailure(); ++i) {
      const std::string log = i % 2 == 0 ? "messages" : "application";
      const std::string line = std::string(host) + " --no-controller show " + log + " --format csv >/usr/zarp/shown";
      EXPECT_EQ(std::system(line.c_str()), 0);
      const std::string shown = machine::ReadFile("/usr/zarp/shown");
      EXPECT_EQ(std::ranges::count(shown, '\n'), 1 + 40);
      EXPECT_NE(shown.find(i % 2 == 0 ? "messages" : "cron"), std::string::npos);
    }
  });
  EXPECT_EQ(agent.Wait(), 0);
  EXPECT_EQ(user.Wait(), 0);
  EXPECT_EQ(NewInTmp(), Names());
}

TEST_F(ProcessesTest, AnotherUsersFilesAreNeverAnswered) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  Process root([this] { AskFor({"messages", "cron"}, true, 50); });
  Process user([this] {
    Load();
    EXPECT_EQ(setgid(65534) | setuid(65534), 0);
    AskFor({"secure", "messages"}, true, 0);
  });
  EXPECT_EQ(root.Wait(), 0);
  EXPECT_EQ(user.Wait(), 0);
  EXPECT_EQ(NewInTmp(), Names());
}

/// Somebody makes the names of the module's files, as fast as can be, whenever they are free.
TEST_F(ProcessesTest, PlantingWithoutAPauseSilencesNothing) {
  const std::string cache = "/tmp/._kestrune_cache";
  {
    const Process planter([&cache] {
      for (bool folder = false;; folder = !folder) folder ? mkdir(cache.c_str(), 0700) : mkfifo(cache.c_str(), 0666);
    });
    AskFor({"messages", "secure"}, false, 100);
  }
  machine::Remove(cache);
  machine::RemoveAside(cache);
}

TEST_F(ProcessesTest, ALockHeldForTooLongIsDoneWithout) {
  Start();
  struct stat status {};
  EXPECT_EQ(stat(lockFile_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600U);
  const std::string ready = "/usr/zarp/ready";
  const Process holder([&] {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    EXPECT_EQ(fcntl(open(lockFile_.c_str(), O_RDWR), F_SETLK, &lock), 0);
    machine::WriteFile(ready, "");
    pause();
  });
  while (access(ready.c_str(), F_OK) != 0) usleep(1000);
  const Reply reply = Fetch(Load(), Group(LOG_SECURE), 40);
  EXPECT_EQ(reply.rows, LogRows(LOG_SECURE, 40, "secure"));
  EXPECT_EQ(reply.messages.front(), "512 Warn (kestrune:ProcessLock): " + lockFile_ +
                                        " is held by another process for too long, going on without it!\n");
}

TEST_F(ProcessesTest, ALinkInTheLocksPlaceIsNotFollowed) {
  machine::Remove(lockFile_);
  machine::PlantLink(lockFile_, "/usr/zarp/elsewhere");
  Start();
  EXPECT_EQ(Fetch(Load(), Group(LOG_SECURE), 40).count, 40U);
  EXPECT_EQ(access("/usr/zarp/elsewhere", F_OK), -1);
  machine::Remove(lockFile_);
}

TEST_F(ProcessesTest, AStartRemovesWhatKilledProcessesLeft) {
  {
    machine::Commands commands;
    commands.Before("sort", "read process </usr/zarp/process; kill -9 $process; sleep 1");
    Process one([this] {
      machine::WriteFile("/usr/zarp/process", std::to_string(getpid()) + "\n");
      Start();
      Fetch(Load(), Group(LOG_MESSAGES), 40);
    });
    EXPECT_EQ(one.Wait(), SIGKILL);
    EXPECT_EQ(NewInTmp().size(), 3U) << "the cache and two work files";
  }
  Process other([this] {
    Host().onCall = [](const std::string& call) {
      if (call == "gmSELEnumEntry") raise(SIGKILL);
    };
    machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords("x")));
    Start();
    Query(Load(), Group(LOG_SEL));
  });
  EXPECT_EQ(other.Wait(), SIGKILL);
  EXPECT_EQ(NewInTmp().size(), 2U) << "the cache and a copy";
  const Names strange = {"__log__tmp.7x", "__log__tmp.", "__log__tmp_.7", "x__log__tmp.7", "__log__tmp.8"};
  for (const std::string& name : strange) {
    machine::WriteFile("/tmp/" + name, "");
    EXPECT_EQ(chmod(("/tmp/" + name).c_str(), name == "__log__tmp.8" ? 0640 : 0600), 0);
  }
  machine::PlantFolder("/tmp/__log__tmp.9");
  machine::PlantStrangersFile("/tmp/__sellog__tmp.9");
  EXPECT_EQ(chmod("/tmp/__sellog__tmp.9", geteuid() == 0 ? 0600 : 0666), 0);
  Start();
  Names left = strange;
  left.insert({"._kestrune_cache", "__log__tmp.9", "__sellog__tmp.9"});
  EXPECT_EQ(NewInTmp(), left);
  for (const std::string& name : left) machine::Remove("/tmp/" + name);
}

/// As a child does that the host has forked meanwhile and that goes on without exec.
TEST_F(ProcessesTest, ACountDoesNotWaitForWhoeverHoldsThePipe) {
  Start();
  machine::Commands commands;
  commands.Before("awk", "/bin/sleep 600 & echo $! >>/usr/zarp/holders");
  alarm(60);
  EXPECT_EQ(Query(Load(), Group(LOG_MESSAGES)).count, 40U);
  alarm(0);
  std::istringstream holders(machine::ReadFile("/usr/zarp/holders"));
  for (pid_t holder = 0; holders >> holder;) EXPECT_EQ(kill(holder, SIGKILL), 0) << "it has ended already";
}

}  // namespace
