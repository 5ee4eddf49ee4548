/// What goes wrong around the module while it answers: memory and calls that are refused, an odd environment. Each time
/// the answer is an allowed one, the next request is right, and nothing is left.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <langinfo.h>
#include <link.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "tests/support/model.h"
#include "tests/support/sel.h"

namespace {

enum Kind { MEMORY, CALLS };

/// Where the loaded module's code lies; what comes from there is the module's.
std::atomic<uintptr_t> g_code_begin{0}, g_code_end{0};
/// How many allocations and calls of the module still succeed before one is refused; negative: all of them.
std::atomic<int> g_until_refusal[2] = {-1, -1};
/// Blocks of memory that are held, by whomever.
std::atomic<int> g_held{0};
/// The locale's encoding as the module is told, if it is not the right one.
const char* g_encoding = nullptr;

bool IsRefused(Kind kind, const void* caller) {
  const auto address = reinterpret_cast<uintptr_t>(caller);
  const bool isCounted = address >= g_code_begin && address < g_code_end && g_until_refusal[kind] >= 0;
  return isCounted && g_until_refusal[kind]-- == 0;
}

int NoteCode(dl_phdr_info* info, size_t, void*) {
  if (std::string_view(info->dlpi_name).find("libkestrune.so") == std::string_view::npos) return 0;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const ElfW(Phdr)& part = info->dlpi_phdr[i];
    if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
    g_code_begin = info->dlpi_addr + part.p_vaddr;
    g_code_end = g_code_begin + part.p_memsz;
  }
  return 1;
}

/// Has the module's allocation or call number `number` (from 0) refused while it lives.
class RefuseOne {
 public:
  RefuseOne(Kind kind, int number) : left_(g_until_refusal[kind]) {
    dl_iterate_phdr(NoteCode, nullptr);
    left_ = number;
  }
  ~RefuseOne() { left_ = -1; }
  RefuseOne(const RefuseOne&) = delete;
  RefuseOne& operator=(const RefuseOne&) = delete;
  bool WasRefused() const { return left_ < 0; }

 private:
  std::atomic<int>& left_;
};

void* Allocate(size_t size, const void* caller) {
  if (IsRefused(MEMORY, caller)) return nullptr;
  ++g_held;
  return std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(size_t size, const void* caller) {
  void* memory = Allocate(size, caller);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void Free(void* memory) {
  if (memory != nullptr) --g_held;
  std::free(memory);
}

template <typename Function>
Function* CLibrary(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define CALLER __builtin_return_address(0)

void* operator new(size_t size) { return AllocateOrThrow(size, CALLER); }
void* operator new[](size_t size) { return AllocateOrThrow(size, CALLER); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allocate(size, CALLER); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return Allocate(size, CALLER); }
// Not inlined: the compiler would see memory of new go to free.
[[gnu::noinline]] void operator delete(void* memory) noexcept { Free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { Free(memory); }
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept { Free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, size_t) noexcept { Free(memory); }

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's names are its own
extern "C" {
char* nl_langinfo(nl_item item) noexcept {
  if (item == CODESET && g_encoding != nullptr) return const_cast<char*>(g_encoding);
  return CLibrary<char*(nl_item)>("nl_langinfo")(item);
}
int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  errno = EMFILE;
  return IsRefused(CALLS, CALLER) ? -1 : CLibrary<int(const char*, int, ...)>("open")(path, flags, mode);
}
int system(const char* command) {
  return IsRefused(CALLS, CALLER) ? -1 : CLibrary<int(const char*)>("system")(command);
}
FILE* popen(const char* command, const char* mode) {
  return IsRefused(CALLS, CALLER) ? nullptr : CLibrary<FILE*(const char*, const char*)>("popen")(command, mode);
}
FILE* fopen(const char* path, const char* mode) {
  return IsRefused(CALLS, CALLER) ? nullptr : CLibrary<FILE*(const char*, const char*)>("fopen")(path, mode);
}
void* dlopen(const char* path, int flags) noexcept {
  return IsRefused(CALLS, CALLER) ? nullptr : CLibrary<void*(const char*, int)>("dlopen")(path, flags);
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace {

/// A machine with every log, and every kind of request that reads one.
class TrustTest : public SELTest {
 protected:
  TrustTest() {
    for (const char* name : {"cron", "messages", "secure", "agent.log"}) {
      machine::WriteFile(std::string("/var/log/") + name, MakeLog(3));
    }
    machine::WriteFile(LOG_FILE, MakeLogFile(PlainRecords("xy")));
    Host().sel = MakeSEL({MakeRecord(1, 1, 0x40, 0, 0, 0x1A), MakeRecord(1, 1, 0x40, 0, 0, 0x1A)});
  }

  static std::vector<ItemRequest> Requests() {
    std::vector<ItemRequest> requests{{SP_PROPERTY, Type(CONFIG_TYPE_LOG, 0), 5, true}};
    for (const uint32_t id : {LOG_APPLICATION, LOG_MESSAGES, LOG_SEL}) {
      requests.push_back({SP_CONFIGITEM, Group(id), 0, false});
      requests.push_back({SP_CONFIGITEM, Group(id), 5, true});
      requests.push_back({SP_CONFIGITEMEX, Group(id), 5, true, 1, 2});
    }
    return requests;
  }

  /// The request after one that may have failed.
  void ExpectRight(const ItemRequest& request, const Reply& right) {
    const Reply reply = Send(Load(), request);
    EXPECT_EQ(reply.Head(), right.Head());
    EXPECT_EQ(reply.rows, right.rows);
  }

  /// Has the module forget the controller's log, or the log that it has filtered last.
  void Forget(uint32_t log) {
    if (log != LOG_SEL) {
      machine::Remove("/tmp/._kestrune_cache");
      return;
    }
    Host().sel.swap(spare_);
    Query(Load(), Group(LOG_SEL));
    Host().sel.swap(spare_);
  }

 private:
  std::vector<ScriptedEntry> spare_;
};

constexpr char OTHER_ENCODING[] = "KOI8-R";

/// The log that a request is about; a text log where it is about all.
uint32_t LogOf(const ItemRequest& request) {
  const bool isOne = request.identifier.dwIDVType == IDV_CONFIGGROUP;
  return isOne ? request.identifier.id.group.wConfigGroupID : static_cast<uint32_t>(LOG_MESSAGES);
}

/// `reply` is that of a request during which something was refused: a failure, an empty log, or the right reply. Of
/// that a refused allocation turns one string into an error. Refused calls, and all that makes calls fail, may cost the
/// SEL log file's two records, which are the last, and make counts of a property reply smaller.
void ExpectAllowed(Kind kind, uint32_t log, const Reply& reply, const Reply& right) {
  if (reply.result == 0 || reply.count == 0) {
    EXPECT_EQ(reply.rows.size(), 0U);
    return;
  }
  const bool lacksFile = kind == CALLS && log == LOG_SEL && right.count == 4 && reply.count == 2;
  EXPECT_EQ(reply.Head(), (std::array{1U, lacksFile ? 2U : right.count, right.begin, right.end}));
  ASSERT_EQ(reply.rows.size(), lacksFile ? right.rows.size() / 2 : right.rows.size());
  int differing = 0;
  for (size_t i = 0; i < reply.rows.size(); ++i) {
    for (size_t k = 0; k < reply.rows[i].values.size(); ++k) {
      const std::string &value = reply.rows[i].values[k], &expected = right.rows[i].values[k];
      if (value == expected) continue;
      if (kind == MEMORY) {
        EXPECT_EQ(value, "(type 10: 2147942414)");  // 0x8007000E
      } else {
        EXPECT_EQ(right.rows[i].shape, PROPERTY_SHAPE);
        EXPECT_LT(std::stoi(value), std::stoi(expected));
      }
      ++differing;
    }
  }
  EXPECT_TRUE(kind == CALLS || right.rows.empty() || differing == 1);
}

TEST_F(TrustTest, EachAllocationAndCallIsRefusedInTurn) {
  Start();
  for (const Kind kind : {MEMORY, CALLS}) {
    for (const ItemRequest& request : Requests()) {
      // Once more for one log in an encoding that takes the longer way.
      g_encoding = kind == MEMORY && g_encoding == nullptr && LogOf(request) == LOG_SEL ? OTHER_ENCODING : nullptr;
      const uint32_t log = LogOf(request);
      Query(Load(), Group(LOG_MESSAGES));
      Forget(log);
      const Reply right = Send(Load(), request);
      ASSERT_EQ(right.result, 1);
      ASSERT_NE(right.count, 0U);
      int number = 0, held = 0;
      for (bool refused = true; refused; ++number) {
        ASSERT_LT(number, 1000);
        SCOPED_TRACE(testing::Message() << request.name << (kind == MEMORY ? " allocation " : " call ") << number);
        Forget(log);
        {
          Reply reply;
          {
            const RefuseOne one(kind, number);
            reply = Send(Load(), request);
            refused = one.WasRefused();
          }
          if (refused) ExpectAllowed(kind, log, reply, right);
        }
        ExpectRight(request, right);
        TakeCalls();
        EXPECT_TRUE(number == 0 || g_held == held) << "memory is lost";
        held = g_held;
        EXPECT_EQ(NewInTmp(), std::set<std::string>{"._kestrune_cache"});
      }
      const int atLeast = kind == MEMORY ? (request.array ? 6 : 1) : 2;
      EXPECT_GE(number, atLeast) << "nothing was refused";
    }
  }
}

TEST_F(TrustTest, AStartWithoutMemoryOrTheLibraryLeavesTheLogOut) {
  for (const Kind kind : {MEMORY, CALLS}) {
    int refusals = 0;
    for (bool refused = true; refused; ++refusals) {
      int32_t started = 0;
      {
        const HostModule& module = Load();
        const RefuseOne one(kind, refusals);
        started = module.SPInitialize(nullptr, nullptr);
        refused = one.WasRefused();
      }
      const Lines calls = TakeCalls();
      // The first call opens the lock between processes, without which a start goes on.
      const bool isLock = kind == CALLS && refusals == 0;
      if (refused && started == 1) {
        EXPECT_EQ(*Load().selEnable, isLock ? 1U : 0U);
        EXPECT_EQ(calls.back() == "gmUninitialize", !isLock);
      }
      EXPECT_EQ(Load().SPInitialize(nullptr, nullptr), 1) << "the next start";
      EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 3).count, 3U);
      Unload();
      TakeCalls();
    }
    EXPECT_GE(refusals, 3);
  }
}

TEST_F(TrustTest, AStringWithoutMemoryIsNull) {
  const auto fromWide = Load().Find<BSTR (*)(const wchar_t*)>("_Z14SysAllocStringPKw");
  const auto fromBytes = Load().Find<BSTR (*)(const char*)>("_Z14SysAllocStringPKc");
  {
    const RefuseOne one(MEMORY, 0);
    EXPECT_EQ(fromWide(L"text"), nullptr);
  }
  const RefuseOne one(MEMORY, 0);
  EXPECT_EQ(fromBytes("text"), nullptr);
}

TEST_F(TrustTest, AnOddHostEnvironment) {
  Start();
  const Rows right = Fetch(Load(), Group(LOG_MESSAGES), 3).rows;
  {
    const machine::ScopedVariable variable("PATH", "relative:/usr/bin:/bin");
    Forget(LOG_MESSAGES);
    EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 3).rows, right);
  }
  Forget(LOG_MESSAGES);
  signal(SIGCHLD, SIG_IGN);
  EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 3).rows, right);
  signal(SIGCHLD, SIG_DFL);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
  struct sigaction action {};
  action.sa_handler = [](int) {};  // without SA_RESTART
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often{{0, 1000}, {0, 1000}}, never{};
  for (int i = 0; i < 5; ++i) {
    setitimer(ITIMER_REAL, &often, nullptr);
    const Reply reply = Fetch(Load(), Group(LOG_MESSAGES), 3);
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_EQ(reply.rows, right) << "a signal cut a read";
  }
  signal(SIGALRM, SIG_DFL);
}

}  // namespace
