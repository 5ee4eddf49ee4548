/// The module as a guest in a process that is not its own: what it must leave as it is, on whatever thread it is
/// called.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <clocale>
#include <csignal>
#include <filesystem>
#include <functional>
#include <sstream>
#include <thread>
#include <vector>

#include "tests/support/model.h"

namespace {

class GuestTest : public ModuleTest {
 protected:
  GuestTest() {
    for (const char* name : {"cron", "messages", "secure"})
      machine::WriteFile(std::string("/var/log/") + name, MakeLog(3));
    Host().PlugInController("1A;2001");
    machine::InstallResourceManager();
  }

  void UseEverything() {
    Start();
    for (uint32_t id = LOG_APPLICATION; id <= LOG_SEL; ++id) FetchRange(Load(), Group(id), 1, 2, 2);
    Send(Load(), {SP_PROPERTY, Type(CONFIG_TYPE_LOG, 0), 5, true});
    EXPECT_EQ(Load().SPUninitialize(), 1);
  }

  /// Sends a request from a thread of its own, does `meanwhile` with it while a command runs for the request, and
  /// waits.
  void AskAndMeanwhile(const std::function<void(pthread_t)>& meanwhile) {
    machine::Commands commands;
    commands.Before("wc", "while [ ! -e /usr/zarp/seen ]; do : >/usr/zarp/counting; done");
    bool answered = false;
    std::thread thread([&] {
      answered = Query(Load(), Group(LOG_MESSAGES)).count == 3;
      pthread_testcancel();
    });
    while (access("/usr/zarp/counting", F_OK) != 0) std::this_thread::yield();
    meanwhile(thread.native_handle());
    machine::WriteFile("/usr/zarp/seen", "");
    thread.join();
    EXPECT_TRUE(answered);
  }
};

std::string ProcessState() {
  constexpr int RESTORER = 0x04000000;  // SA_RESTORER, which system() leaves on signals that it has put back
  const mode_t mask = umask(0);
  umask(mask);
  std::ostringstream state;
  state << std::setlocale(LC_ALL, nullptr) << mask << std::filesystem::current_path();
  for (char** variable = environ; *variable != nullptr; ++variable) state << "\n" << *variable;
  sigset_t blocked;
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    state << "\n"
          << reinterpret_cast<uintptr_t>(action.sa_handler) << " " << (action.sa_flags & ~RESTORER) << " "
          << sigismember(&blocked, number);
  }
  std::error_code none;  // a machine without /proc does not tell the threads
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", none)) state << thread;
  return state.str();
}

TEST_F(GuestTest, TheProcessStaysAsItWas) {
  const mode_t mask = umask(0137);  // one that nobody would choose
  const std::string before = ProcessState();
  UseEverything();
  Unload();
  EXPECT_EQ(ProcessState(), before);
  umask(mask);
}

/// The host's other threads start processes too, and these must not get hold of what the module has open.
TEST_F(GuestTest, WhatIsOpenMeanwhileClosesInOtherProcesses) {
  Start();
  const std::set<int> before = machine::OpenDescriptors();
  int opened = 0;
  AskAndMeanwhile([&](pthread_t) {
    for (const int descriptor : machine::OpenDescriptors()) {
      if (before.contains(descriptor)) continue;
      EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
      ++opened;
    }
  });
  EXPECT_EQ(opened, 2) << "the pipe and the lock between processes";
}

TEST_F(GuestTest, AThreadThatIsCancelledEndsBehindItsRequest) {
  Start();
  AskAndMeanwhile([](pthread_t thread) { EXPECT_EQ(pthread_cancel(thread), 0); });
  EXPECT_EQ(NewInTmp(), std::set<std::string>{"._kestrune_cache"});
  EXPECT_EQ(Query(Load(), Group(LOG_MESSAGES)).count, 3U);
}

/// Each entry point holds the one lock: while the host answers the module on one thread, no other thread gets as far.
TEST_F(GuestTest, ThreadsTakeTurns) {
  const HostModule& module = Start();
  std::atomic<int> inside{0}, meetings{0};
  Host().onMessage = Host().onCall = [&](const std::string&) {
    if (inside++ != 0) ++meetings;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    --inside;
  };
  const auto together = [](const std::vector<std::function<void()>>& calls) {
    std::vector<std::thread> threads;
    threads.reserve(calls.size());
    for (const auto& call : calls) {
      threads.emplace_back([&call] {
        for (int round = 0; round < 8; ++round) call();
      });
    }
    for (std::thread& thread : threads) thread.join();
  };
  const auto ask = [&module](uint32_t id) {
    uint32_t count = 0;
    uint64_t word = 1;
    tagIDV identifier = Group(id);
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGITEM, &identifier, &count, nullptr), 1);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(module.SPInitialize(&word, &count), 1);
    EXPECT_EQ(module.SPConfig(SP_OP_SET, SP_GBLPROPERTY, &word, nullptr, nullptr), 1);
  };
  const auto dump = module.Find<void (*)()>("ShowBMCSELLogDebug");
  together({[&] { ask(LOG_MESSAGES); }, [&] { ask(LOG_APPLICATION); }, dump});
  EXPECT_EQ(meetings.exchange(0), 0) << "requests and the dump";
  const auto restart = [&module] {
    module.SPUninitialize();
    EXPECT_EQ(module.SPInitialize(nullptr, nullptr), 1);
  };
  together({restart, restart});
  EXPECT_EQ(meetings.exchange(0), 0) << "starts and stops";
  Host().onCall = nullptr;
}

}  // namespace
