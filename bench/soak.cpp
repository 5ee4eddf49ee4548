/// soak.cpp: the long runs of script/soak: many requests from several threads while the logs change, and many loads of
/// the module. No two requests may be inside the module at once, and memory and descriptors must not grow.
/// KESTRUNE_SOAK_REQUESTS and KESTRUNE_SOAK_CYCLES set the length.
#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "tests/support/model.h"
#include "tests/support/sel.h"

namespace {

constexpr int THREADS = 4;
/// Bytes in use that may come and go: buffers of the C library, the host's own lists.
constexpr size_t TOLERANCE = size_t{8} * 1024;

int LengthOf(const char* variable, int otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::atoi(text);
}

size_t BytesInUse() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return 0;  // the sanitizer's allocator does not tell; it finds leaks by itself
#else
  return mallinfo2().uordblks;
#endif
}

/// The controller's log of records of a sensor that the host has a name for.
std::vector<ScriptedEntry> MakeNamedSEL(const std::string& marks) {
  Records records = PlainRecords(marks);
  for (SELRecord& record : records) record[RECORD_SENSOR_NUMBER] = 0x1A;
  return MakeSEL(records);
}

class SoakTest : public SELTest {
 protected:
  SoakTest() {
    machine::WriteFile("/var/log/messages", MakeLog(20, "messages"));
    machine::WriteFile("/var/log/cron", MakeLog(5, "cron"));
    machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords("xy")));
    Host().sel = MakeNamedSEL("abc");
    Host().names[0x2001] = std::string(200, 'n');  // long, so that its loss would show
  }
};

/// One request of a thread's mix, checked as far as a log that changes allows: what is announced is there, and is
/// whole.
void Ask(const HostModule& module, int round) {
  constexpr uint32_t LOGS[] = {LOG_MESSAGES, LOG_APPLICATION, LOG_SEL, LOG_MESSAGES};
  constexpr uint32_t CAPACITY = 64;
  const uint32_t log = LOGS[round % 4];
  tagIDV identifier = Group(log);
  tagCONFIGITEM items[CAPACITY] = {};
  tagITEMRANGE range{1, 10, 0, CAPACITY};
  const bool ranged = round % 3 == 0;
  uint32_t count = CAPACITY;
  EXPECT_EQ(ranged ? module.SPConfig(SP_OP_GET, SP_CONFIGITEMEX, &identifier, &range, items)
                   : module.SPConfig(SP_OP_GET, SP_CONFIGITEM, &identifier, &count, items),
            1);
  if (ranged) count = range.dwCount;
  EXPECT_TRUE(count <= CAPACITY && (!ranged || count <= 10));
  for (uint32_t i = 0; i < count; ++i) {
    EXPECT_EQ(items[i].dwID, log);
    EXPECT_EQ(items[i].dwIndex, (ranged ? range.dwBegin : 1) + i);
    for (uint32_t k = 0; k < 4; ++k) EXPECT_TRUE(items[i].pEntries[k].varValue.vt == VT_BSTR);
    EXPECT_EQ(std::wcslen(items[i].pEntries[0].varValue.value.bstrVal), 6U);
    EXPECT_EQ(std::wcslen(items[i].pEntries[1].varValue.value.bstrVal), 8U);
    delete[] items[i].pEntries;
  }
}

TEST_F(SoakTest, RequestsOfManyThreads) {
  const int requests = LengthOf("KESTRUNE_SOAK_REQUESTS", 120);
  const HostModule& module = Start();
  std::atomic<int> next{0}, inside{0}, meetings{0};
  // The module sends messages under its lock. While the host takes one, no other request may come as far as this.
  Host().onMessage = [&](const std::string&) {
    if (inside++ != 0) ++meetings;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    --inside;
  };
  // The controller's log changes between two looks of the module, on the module's own call and so under its lock.
  Host().onCall = [turn = size_t{0}](const std::string& call) mutable {
    if (call != "gmSELEnumEntry") return;
    ++turn;
    Host().sel = MakeNamedSEL(std::string("abcdefgh").substr(turn % 5 == 0 ? 1 : 0, 1 + turn % 7));
  };
  const auto work = [&] {
    for (int round = next++; round < requests; round = next++) {
      Ask(module, round);
      if (round % 64 == 0) TakeLines();
      if (round % 64 == 0) TakeCalls();
    }
  };
  const auto run = [&] {
    next = 0;
    std::vector<std::thread> threads;
    threads.reserve(THREADS);
    for (int i = 0; i < THREADS; ++i) threads.emplace_back(work);
    for (int round = 0; next < requests; ++round) {
      machine::AppendFile("/var/log/messages", MakeLog(1, "messages"));
      if (round % 20 == 0) {  // rotated: written aside and put in place
        machine::WriteFile("/var/log/messages.new", MakeLog(20, "messages"));
        std::rename("/var/log/messages.new", "/var/log/messages");
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    for (std::thread& thread : threads) thread.join();
    TakeLines();
    TakeCalls();
  };
  run();
  const size_t before = BytesInUse();
  const std::set<int> descriptors = machine::OpenDescriptors();
  run();
  EXPECT_LE(BytesInUse(), before + TOLERANCE);
  EXPECT_EQ(machine::OpenDescriptors(), descriptors);
  EXPECT_EQ(meetings, 0) << "requests that were inside the module together";
  std::printf("%d requests, %zu bytes in use before and %zu after\n", requests * 2, before, BytesInUse());
}

TEST_F(SoakTest, LoadsAndUnloads) {
  const int cycles = LengthOf("KESTRUNE_SOAK_CYCLES", 8);
  const auto run = [&](int times) {
    for (int i = 0; i < times; ++i) {
      Start();
      EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 20).count, 20U);
      EXPECT_EQ(Fetch(Load(), Group(LOG_SEL), 5).count, 5U);
      Unload();
      TakeLines();
      TakeCalls();
    }
  };
  run(3);
  const size_t before = BytesInUse();
  const std::set<int> descriptors = machine::OpenDescriptors();
  run(cycles);
  EXPECT_LE(BytesInUse(), before + TOLERANCE);
  EXPECT_EQ(machine::OpenDescriptors(), descriptors);
  std::printf("%d cycles, %zu bytes in use before and %zu after\n", cycles, before, BytesInUse());
}

}  // namespace
