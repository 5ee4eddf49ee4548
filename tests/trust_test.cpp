/// What goes wrong around the module while it answers: memory and calls that are refused, descriptors that run out,
/// names that are taken. Each time the answer is an allowed one, the next request is right, and nothing is left behind.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <langinfo.h>
#include <link.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
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
std::atomic<bool> g_refused{false};
/// The locale's encoding as the module is told, if it is not the right one.
const char* g_encoding = nullptr;

bool IsRefused(Kind kind, const void* caller) {
  const auto address = reinterpret_cast<uintptr_t>(caller);
  if (address < g_code_begin || address >= g_code_end || g_until_refusal[kind] < 0) return false;
  if (g_until_refusal[kind]-- > 0) return false;
  g_refused = true;
  return true;
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
  RefuseOne(Kind kind, int number) : kind_(kind) {
    dl_iterate_phdr(NoteCode, nullptr);
    g_refused = false;
    g_until_refusal[kind_] = number;
  }
  ~RefuseOne() { g_until_refusal[kind_] = -1; }
  RefuseOne(const RefuseOne&) = delete;
  RefuseOne& operator=(const RefuseOne&) = delete;
  static bool Refused() { return g_refused; }

 private:
  Kind kind_;
};

void* Allocate(size_t size, const void* caller) {
  return IsRefused(MEMORY, caller) ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(size_t size, const void* caller) {
  void* memory = Allocate(size, caller);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
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
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's names are its own
extern "C" {
char* nl_langinfo(nl_item item) noexcept {
  if (item == CODESET && g_encoding != nullptr) return const_cast<char*>(g_encoding);
  return CLibrary<char*(nl_item)>("nl_langinfo")(item);
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

  /// The request behind one that may have failed.
  void ExpectRight(const ItemRequest& request, const Reply& right) {
    const Reply reply = Send(Load(), request);
    EXPECT_EQ(reply.Head(), right.Head());
    EXPECT_EQ(reply.rows, right.rows);
  }

  void RunShort(int resource, const std::vector<rlim_t>& values, const std::function<rlim_t()>& base);

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
  EXPECT_EQ(reply.count, lacksFile ? 2U : right.count);
  EXPECT_EQ(reply.begin, right.begin);
  EXPECT_EQ(reply.end, right.end);
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
      int number = 0;
      for (bool refused = true; refused; ++number) {
        ASSERT_LT(number, 1000);
        SCOPED_TRACE(testing::Message() << request.name << (kind == MEMORY ? " allocation " : " call ") << number);
        Forget(log);
        Reply reply;
        {
          const RefuseOne one(kind, number);
          reply = Send(Load(), request);
          refused = RefuseOne::Refused();
        }
        if (refused) ExpectAllowed(kind, log, reply, right);
        ExpectRight(request, right);
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
        refused = RefuseOne::Refused();
      }
      const Lines calls = TakeCalls();
      if (refused && started == 1) {
        EXPECT_EQ(*Load().selEnable, 0U);
        EXPECT_EQ(calls.back(), "gmUninitialize");
      }
      EXPECT_EQ(Load().SPInitialize(nullptr, nullptr), 1) << "the start behind it";
      EXPECT_EQ(Fetch(Load(), Group(LOG_MESSAGES), 3).count, 3U);
      Unload();
      TakeCalls();
    }
    EXPECT_GE(refusals, kind == MEMORY ? 3 : 2);
  }
}

/// The limit `resource` is one of `values` more than `base` while each request is answered.
void TrustTest::RunShort(int resource, const std::vector<rlim_t>& values, const std::function<rlim_t()>& base) {
  Start();
  for (const ItemRequest& request : Requests()) {
    const Reply right = Send(Load(), request);
    for (const rlim_t value : values) {
      SCOPED_TRACE(testing::Message() << request.name << " with " << value);
      Forget(LogOf(request));
      machine::Remove("/var/log/._app_log_.tmp");
      rlimit before{};
      getrlimit(static_cast<__rlimit_resource>(resource), &before);
      const rlimit little{base() + value, before.rlim_max};
      setrlimit(static_cast<__rlimit_resource>(resource), &little);
      const Reply reply = Send(Load(), request);
      setrlimit(static_cast<__rlimit_resource>(resource), &before);
      ExpectAllowed(CALLS, LogOf(request), reply, right);
      ExpectRight(request, right);
      EXPECT_EQ(NewInTmp(), std::set<std::string>{"._kestrune_cache"});
    }
  }
}

TEST_F(TrustTest, DescriptorsRunOut) {
  RunShort(RLIMIT_NOFILE, {0, 1, 2, 4}, [] {
    const int next = open("/dev/null", O_RDONLY);
    close(next);
    return static_cast<rlim_t>(next);
  });
}

TEST_F(TrustTest, SpaceRunsOut) {
  std::signal(SIGXFSZ, SIG_IGN);
  RunShort(RLIMIT_FSIZE, {0, 64}, [] { return rlim_t{0}; });
  std::signal(SIGXFSZ, SIG_DFL);
}

TEST_F(TrustTest, AnOddHostEnvironment) {
  Start();
  const Rows right = Fetch(Load(), Group(LOG_MESSAGES), 3).rows;
  const struct {
    const char* path;
    bool works;
  } paths[] = {{"/nowhere", false}, {"", false}, {"relative:/usr/bin:/bin", true}, {"/usr/bin/", true}};
  for (const auto& [path, works] : paths) {
    SCOPED_TRACE(path);
    Forget(LOG_MESSAGES);
    Reply reply;
    {
      const machine::ScopedVariable variable("PATH", path);
      reply = Fetch(Load(), Group(LOG_MESSAGES), 3);
    }
    EXPECT_EQ(reply.result, 1);
    EXPECT_EQ(reply.rows, works ? right : Rows());
  }
  Forget(LOG_MESSAGES);
  signal(SIGCHLD, SIG_IGN);
  const Reply reply = Fetch(Load(), Group(LOG_MESSAGES), 3);
  signal(SIGCHLD, SIG_DFL);
  EXPECT_EQ(reply.rows, right);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

TEST_F(TrustTest, SignalsOfTheHostDoNotCutARead) {
  Start();
  const Rows right = Fetch(Load(), Group(LOG_MESSAGES), 3).rows;
  struct sigaction action {
  }, before{};
  action.sa_handler = [](int) {};  // without SA_RESTART
  sigaction(SIGALRM, &action, &before);
  const itimerval often{{0, 1000}, {0, 1000}}, never{};
  for (int i = 0; i < 5; ++i) {
    setitimer(ITIMER_REAL, &often, nullptr);
    const Reply reply = Fetch(Load(), Group(LOG_MESSAGES), 3);
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_EQ(reply.rows, right);
  }
  sigaction(SIGALRM, &before, nullptr);
}

/// Somebody who knows the name of the next copy plants a FIFO there once the name has been looked at.
TEST_F(TrustTest, NobodyWaitsAtAPlantedFIFO) {
  machine::Remove(LOG_FILE);
  Start();
  const std::string copy = SeedCopy();
  Host().onCall = [&copy](const std::string& call) {
    if (call == "gmSELEnumEntry") mkfifo(copy.c_str(), 0666);
  };
  alarm(60);
  const Reply reply = Fetch(Load(), Group(LOG_SEL), 9);
  alarm(0);
  Host().onCall = nullptr;
  EXPECT_EQ(reply.count, 2U);
  machine::Remove(copy);
}

}  // namespace
