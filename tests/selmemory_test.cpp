/// Memory that runs out while the SEL is read: the answer is that of an empty log, and nothing of the log is lost or
/// doubled afterwards.
#include <cstdlib>
#include <new>

#include "tests/support/sel.h"

namespace {

/// Allocations of at least this size fail.
size_t g_limit = SIZE_MAX;

void* Allocate(size_t size) noexcept { return size < g_limit ? std::malloc(size) : nullptr; }

void* AllocateOrThrow(size_t size) {
  void* memory = Allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(size_t size) { return AllocateOrThrow(size); }
void* operator new[](size_t size) { return AllocateOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

namespace {

TEST_F(SELTest, MemoryThatRunsOut) {
  const Records records = PlainRecords(std::string(100, 'a'));
  machine::WriteFile(kLogFile, MakeLogFile(PlainRecords("xy")));
  // Below 1000 bytes the tests' own lists would fail. The cache takes 2000 or more in the end, the text 256 a line.
  for (const size_t limit : {1000, 2000, 102 * 256 + 1}) {
    SCOPED_TRACE(limit);
    Unload();
    Host().sel = MakeSEL(records);
    const HostModule& module = Start();
    Host().on_call = [limit](const std::string& call) {
      TakeCalls();
      if (call == "gmSELEnumEntry") g_limit = limit;
    };
    const Reply reply = Fetch(module, Group(LOG_SEL), 102);
    g_limit = SIZE_MAX;
    Host().on_call = nullptr;
    EXPECT_EQ(reply.result, 1);
    EXPECT_EQ(reply.count, 0U);
    if (limit > 2000) {
      EXPECT_EQ(reply.messages, Report("", {"256 Err (kestrune:ReadSELData): Can't allocate memory!\n",
                                            "256 Err (kestrune:SELLogFilter): Read SEL data error!\n"}));
    }
    EXPECT_EQ(Fetch(module, Group(LOG_SEL), 102).rows, PlainRows(101, 1, "yx", PlainRows(1, 0, std::string(100, 'a'))));
  }
}

}  // namespace
