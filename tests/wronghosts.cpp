/// wronghosts.cpp: small hosts with one mistake each, one row for each; the probe must report it by its rule and by no
/// other. Right hosts, of whom it must report nothing, and the troubles on cue that a right host bears.
///
///   wronghosts PROBE INCOMPLETE [OTHER]...    runs every row, each in a process of its own; INCOMPLETE is this program
///   without a function, and the others are this program built in other ways, of which right hosts are run
///   wronghosts PROBE run NUMBER    runs one row
#include <dlfcn.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "standin/host/items.h"
#include "standin/host/module.h"

namespace {

using standin::Group;
using standin::Type;

std::function<void()> onOutput, onInitialize, onInfo;  // mistakes inside the host's functions
int supported = 1;
int card = 255;
std::function<int(uint32_t* size, char* buffer)> property;
size_t tooMuch = 0;  // bytes that gmGetIPMIInfo writes beyond its record

}  // namespace

#ifdef ARENA
// A program with an allocator of its own, which frees nothing.
KESTRUNE_EXPORT void* operator new(size_t size) {
  alignas(16) static char arena[16 << 20];
  static std::atomic<size_t> used{0};
  return arena + used.fetch_add((size + 15) / 16 * 16);
}
KESTRUNE_EXPORT void* operator new[](size_t size) { return operator new(size); }
KESTRUNE_EXPORT void operator delete(void*) noexcept {}
KESTRUNE_EXPORT void operator delete[](void*) noexcept {}
KESTRUNE_EXPORT void operator delete(void*, size_t) noexcept {}
KESTRUNE_EXPORT void operator delete[](void*, size_t) noexcept {}
#endif

KESTRUNE_EXPORT tagCONFIGITEM twoItems[2];

extern "C" {
KESTRUNE_EXPORT void Output(int, const char*, ...) {
  if (onOutput) onOutput();
}
KESTRUNE_EXPORT int GeneralOSSupportChecking() { return supported; }
KESTRUNE_EXPORT int GetOSDist() { return 0; }
KESTRUNE_EXPORT int gmInitialize() {
  if (onInitialize) onInitialize();
  return onInfo || property || tooMuch != 0 ? 1 : 0;
}
KESTRUNE_EXPORT int gmUninitialize() { return 1; }
KESTRUNE_EXPORT int gmGetIPMIInfo(void* info) {
  if (onInfo) onInfo();
  memset(info, 0, 40 + tooMuch);
  memcpy(static_cast<char*>(info) + 4, &card, sizeof(card));
  return 1;
}
KESTRUNE_EXPORT int gmGetProperty(const char*, uint32_t* size, char* buffer) {
  return property ? property(size, buffer) : 0;
}
KESTRUNE_EXPORT int gmSELEnumEntry(uint32_t*) { return 0; }
KESTRUNE_EXPORT int gmGetIPMIEntry(void*) { return 0; }
KESTRUNE_EXPORT int gmEnterMutex(uint32_t) { return 1; }
#ifndef INCOMPLETE
KESTRUNE_EXPORT int gmExitMutex() { return 1; }
#endif
KESTRUNE_EXPORT int gmExecSensorValue(uint32_t, const char*, int, tagVARIANT*, tagVARIANT*) { return 0; }
}

namespace {

void Check(bool good, const std::string& what) {
  if (!good) throw std::runtime_error("not so: " + what);
}

/// The probe, in the module's place. It is unloaded at the end of the process, or by a row.
struct Probe {
  explicit Probe(const char* file) : path(file), library(dlopen(file, RTLD_NOW)) {
    if (library == nullptr) throw std::runtime_error(dlerror());
  }
  template <typename Pointer>
  Pointer Find(const char* name) const {
    void* symbol = dlsym(library, name);
    Check(symbol != nullptr, name);
    return reinterpret_cast<Pointer>(symbol);
  }
  std::string path;
  void* library;
  KESTRUNE_MODULE_NAME(SPInitialize);
  KESTRUNE_MODULE_NAME(SPUninitialize);
  KESTRUNE_MODULE_NAME(SPConfig);
};
std::unique_ptr<Probe> module;
using Items = std::vector<tagCONFIGITEM>;

bool Get(const char* request, void* first, void* second, void* third = nullptr) {
  return module->SPConfig(SP_OP_GET, request, first, second, third) == 1;
}
int Start() { return module->SPInitialize(nullptr, nullptr); }
void Stop() { module->SPUninitialize(); }

Items Fetch(uint16_t log, uint32_t capacity = 9) {
  Items items(capacity);
  tagIDV identifier = Group(log);
  items.resize(Get(SP_CONFIGITEM, &identifier, &capacity, items.data()) ? capacity : 0);
  return items;
}
uint32_t Count(uint16_t log, uint32_t count = 0) {
  tagIDV identifier = Group(log);
  Get(SP_CONFIGITEM, &identifier, &count, nullptr);
  return count;
}
void Free(Items& items) {
  for (tagCONFIGITEM& item : items) delete[] std::exchange(item.pEntries, nullptr);
}
void FetchAndFree(uint16_t log = LOG_MESSAGES) {
  Items items = Fetch(log);
  Free(items);
}
BSTR& Message(Items& items) { return items.at(0).pEntries[4].varValue.value.bstrVal; }

/// A range of the messages, of which what comes is freed.
void FetchRange(uint32_t begin, uint32_t end) {
  Items items(9);
  tagIDV identifier = Group(LOG_MESSAGES);
  tagITEMRANGE range{begin, end, 0, 9};
  if (Get(SP_CONFIGITEMEX, &identifier, &range, items.data())) Free(items);
}

/// Writes a message from `count` announced entries.
void Write(int64_t level, wchar_t* text, uint32_t count = 2) {
  auto entries = std::make_unique<tagCONFIGENTRY[]>(2);
  entries[0].dwEntryID = CE_LEVEL;
  entries[1].dwEntryID = CE_TEXT;
  entries[0].dwAttributes = entries[1].dwAttributes = CE_ATTRIBUTE_WRITABLE;
  entries[0].varValue.vt = VT_I4;
  entries[0].varValue.value.llVal = level;
  entries[1].varValue.vt = VT_BSTR;
  entries[1].varValue.value.bstrVal = text;
  Items item{{1, CONFIG_TYPE_LOG, count, entries.get()}};
  tagIDV identifier = Group(LOG_MESSAGES);
  uint32_t items = 1;
  module->SPConfig(SP_OP_SET, SP_PROPERTY, &identifier, &items, item.data());
  entries[1].varValue.vt = VT_EMPTY;
}

/// Fetches the one record of the secure log into an array, with a capacity that is told to be 20.
void FetchInto(tagCONFIGITEM* items, uint32_t& count) {
  tagIDV identifier = Group(LOG_SECURE);
  count = 20;
  if (Get(SP_CONFIGITEM, &identifier, &count, items)) delete[] items[0].pEntries;
}

/// A page of text without an end, and nothing behind it.
wchar_t* EndlessText() {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  void* memory = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  wmemset(static_cast<wchar_t*>(memory), L'x', page / sizeof(wchar_t));
  mprotect(static_cast<char*>(memory) + page, page, PROT_NONE);
  return static_cast<wchar_t*>(memory);
}

/// A property whose size is told once as `first` and then as `second`, with `text` as its bytes.
std::function<int(uint32_t*, char*)> Property(uint32_t first, uint32_t second, const std::string& text) {
  return [=](uint32_t* size, char* buffer) {
    if (buffer != nullptr) text.copy(buffer, text.size());
    *size = buffer == nullptr ? first : second;
    return 1;
  };
}

tagIDV OfForm(uint32_t form) {
  tagIDV identifier = Group(LOG_MESSAGES);
  identifier.dwIDVType = form;
  return identifier;
}

wchar_t shortText[] = L"text";

struct Row {
  const char* rule;  ///< by which the probe reports it; empty for a right host
  const char* mistake;
  std::function<void()> run;  ///< between the start and the stop, if it is a `Started`
  bool isStarted = true;
};

// NOLINTBEGIN(cppcoreguidelines-*,clang-analyzer-*,bugprone-*): mistakes are what is wanted
const std::vector<Row> ROWS{
    {"", "counts, fetches and frees",
     [] {
       Items items = Fetch(LOG_MESSAGES, Count(LOG_MESSAGES));
       Check(items.size() == 3, "three messages");
       Free(items);
     }},
    {"", "pages through what it has counted", [] { Count(LOG_MESSAGES), FetchRange(1, 2), FetchRange(3, 0); }},
    {"", "starts anew", [] { Stop(), Start(), FetchAndFree(); }},
    {"", "sets the locale", [] { setlocale(LC_ALL, "C.UTF-8"), FetchAndFree(LOG_AGENT); }},
    {"", "sends a property back with a text of its own",
     [] {
       Items items(1);
       tagIDV identifier = Group(LOG_MESSAGES);
       uint32_t count = 1;
       Check(Get(SP_PROPERTY, &identifier, &count, items.data()), "property");
       tagVARIANT& text = items[0].pEntries[2].varValue;
       ReleaseVariant(text);
       text.value.bstrVal = wcscpy(new wchar_t[5], L"text");
       text.vt = VT_BSTR;
       items[0].pEntries[1].varValue.value.llVal = 2;
       Check(module->SPConfig(SP_OP_SET, SP_PROPERTY, &identifier, &count, items.data()) == 1, "write");
       Free(items);
     }},
    {"", "takes strings and variants",
     [] {
       tagVARIANT value{}, copy{};
       value.vt = VT_BSTR;
       value.value.bstrVal = module->Find<BSTR (*)(const wchar_t*)>("_Z14SysAllocStringPKw")(L"a text");
       module->Find<decltype(&VariantCopy)>("VariantCopy")(&copy, &value);
       Check(wcscmp(copy.value.bstrVal, L"a text") == 0, "copy");
       module->Find<decltype(&VariantClear)>("VariantClear")(&copy);
       delete[] value.value.bstrVal;
     }},
    {"", "sees the module's data",
     [] {
       const uint64_t word = 7ULL << 32 | 1;
       uint64_t set = word;
       module->SPConfig(SP_OP_SET, SP_GBLPROPERTY, &set, nullptr, nullptr);
       Check(*module->Find<uint32_t*>("g_uiUpdateInterval") == 7 && *module->Find<uint32_t*>("g_bRepeatEvent") == 1,
             "settings");
       Check(strncmp(module->Find<const char*>("kestrune_version"), "kestrune__version ", 18) == 0, "version");
     }},
    {"", "has a controller",
     [] {
       Stop();
       card = 1;
       property = Property(3, 3, std::string("1;2", 4));
       property = Property(4, 4, std::string("1;2", 4));
       Start();
     }},
    {"", "asks from several threads",
     [] {
       std::vector<std::thread> threads;
       threads.reserve(4);
       for (int i = 0; i < 4; ++i) threads.emplace_back([] { FetchAndFree(); });
       for (std::thread& thread : threads) thread.join();
     }},
    {"", "has a child that ends",
     [] {
       int status = 1;
       if (fork() == 0) exit(0);
       Check(wait(&status) > 0 && status == 0, "the child's end");
     }},
    {"", "frees through an address",
     [] {
       Items items = Fetch(LOG_SECURE);
       char* begin = reinterpret_cast<char*>(items.at(0).pEntries) - sizeof(size_t);
       for (int i = 0; i < 5; ++i) ReleaseVariant(items.at(0).pEntries[i].varValue);
       reinterpret_cast<void (*)(void*)>(dlsym(RTLD_DEFAULT, "_ZdaPv"))(begin);
     }},
    {"", "forks into the background before it starts",
     [] {
       if (fork() != 0) _exit(wait(nullptr) > 0 ? 0 : 1);
       Start(), FetchAndFree(), Stop();
     },
     false},

    {"not-started", "a request before the start", [] { FetchAndFree(); }, false},
    {"after-stop", "a request after the stop", [] { Start(), Stop(), FetchAndFree(); }, false},
    {"start-twice", "a second start", [] { Start(); }},
    {"stop-without-start", "a stop before the start", [] { Stop(), Start(), Stop(); }, false},
    {"stop-without-start", "a second stop", [] { Start(), Stop(), Stop(); }, false},
    {"not-stopped", "an end without a stop", [] { Start(); }, false},
    {"not-stopped", "an unloading without a stop", [] { Start(), dlclose(module->library); }, false},
    {"reentrant", "a request from Output",
     [] {
       onOutput =
           [] {
             uint64_t word;
             Get(SP_GBLPROPERTY, &word, nullptr);
           },
       FetchAndFree(), onOutput = nullptr;
     }},
    {"reentrant", "a start from gmInitialize", [] { onInitialize = [] { Start(); }, Start(), Stop(); }, false},
    {"forked", "a request in a forked child",
     [] {
       uint64_t word = 0;
       if (fork() == 0) _exit(Get(SP_GBLPROPERTY, &word, nullptr) ? 0 : 1);
       wait(nullptr);
     }},
    {"signal-handler", "a request in a handler",
     [] {
       signal(SIGUSR1, [](int) {
         uint64_t word;
         Get(SP_GBLPROPERTY, &word, nullptr);
       });
       raise(SIGUSR1);
     }},
    {"descriptors", "standard input closed", [] { close(STDIN_FILENO), FetchAndFree(); }},
    {"locale", "a log of UTF-8 in the locale C", [] { FetchAndFree(LOG_AGENT); }},
    {"sigchld", "SIGCHLD ignored", [] { signal(SIGCHLD, SIG_IGN), FetchAndFree(); }},
    {"unknown-request", "a request of another name", [] { Get("SP_CONFIGITEMS", nullptr, nullptr); }},
    {"unknown-request", "no name", [] { Get(nullptr, nullptr, nullptr); }},
    {"unknown-request", "another name, in the first of two loadings",
     [] {
       Start(), Get("SP_CONFIGITEMS", nullptr, nullptr), Stop(), dlclose(module->library);
       module = std::make_unique<Probe>(std::string(module->path).c_str());
       Start(), Stop();
     },
     false},
    {"unknown-request", "another name, without the environment that was there at first",
     [] { clearenv(), Get("SP_CONFIGITEMS", nullptr, nullptr); }},
    {"unknown-request", "the catalogue, set",
     [] { module->SPConfig(SP_OP_SET, SP_CONFIGGROUPS, nullptr, nullptr, nullptr); }},
    {"null-argument", "no identifier",
     [] {
       uint32_t count = 0;
       Get(SP_CONFIGITEM, nullptr, &count);
     }},
    {"null-argument", "no count",
     [] {
       tagIDV identifier = Group(LOG_MESSAGES);
       Get(SP_PROPERTY, &identifier, nullptr);
     }},
    {"null-array", "a capacity without an array", [] { Count(LOG_MESSAGES, 7), FetchAndFree(); }},
    {"array-too-small", "20 items announced, and room for 2",
     [] {
       uint32_t count;
       auto* items = static_cast<tagCONFIGITEM*>(malloc(2 * sizeof(tagCONFIGITEM)));
       FetchInto(items, count);
       free(items);
     }},
    {"array-too-small", "20 items announced, and room for 2 in the function",
     [] {
       static uint32_t count;
       tagCONFIGITEM items[2];
       FetchInto(items, count);
     }},
    {"array-too-small", "20 items announced, and an exported array of 2",
     [] {
       uint32_t count;
       FetchInto(twoItems, count);
     }},
    {"array-too-small", "20 items announced, and the count behind the second",
     [] {
       static struct {
         tagCONFIGITEM items[2];
         uint32_t count;
         char rest[1000];
       } all;
       FetchInto(all.items, all.count);
     }},
    {"array-too-small", "9 groups announced, and a page with room for 5 at its end",
     [] {
       uint32_t count = 9;
       const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
       Get(SP_CONFIGGROUPS, &count, reinterpret_cast<char*>(EndlessText()) + page - 5 * sizeof(tagCONFIGGROUP));
     }},
    {"array-too-small", "3 entries to write, and 2 of them there", [] { Write(1, shortText, 3); }},
    {"unknown-identifier", "a form that there is not",
     [] {
       uint32_t count = 0;
       tagIDV identifier = OfForm(6);
       Get(SP_CONFIGITEM, &identifier, &count);
     }},
    {"unknown-identifier", "a log that there is not",
     [] {
       uint32_t count = 0;
       tagIDV identifier = Type(0xF0);
       Get(SP_CONFIGITEM, &identifier, &count);
     }},
    {"range-reversed", "from the third record to the second", [] { FetchRange(3, 2); }},
    {"count-not-fetched", "a count alone", [] { Count(LOG_MESSAGES); }},
    {"count-of-another", "the messages counted, the secure log fetched",
     [] {
       FetchAndFree();
       Items items(9);
       uint32_t count = 0;
       tagIDV messages = Group(LOG_MESSAGES), secure = Group(LOG_SECURE);
       Get(SP_CONFIGITEM, &messages, &count, nullptr);
       if (Get(SP_CONFIGITEM, &secure, &count, items.data())) Free(items);
     }},
    {"refusal-ignored", "a request after a start that was refused", [] { supported = 0, Start(), FetchAndFree(); },
     false},
    {"freed-twice", "entries freed twice",
     [] {
       Items items = Fetch(LOG_MESSAGES), again = items;
       Free(items), Free(again);
     }},
    {"freed-twice", "a refused fetch taken for success",
     [] {
       Items items = Fetch(LOG_MESSAGES), again = items;
       Free(items);
       tagIDV identifier = Group(LOG_MESSAGES);
       uint32_t tooFew = 1;
       Check(!Get(SP_CONFIGITEM, &identifier, &tooFew, again.data()), "refused");
       Free(again);
     }},
    {"freed-twice", "a string freed before its entries",
     [] {
       Items items = Fetch(LOG_MESSAGES);
       delete[] Message(items), Free(items);
     }},
    {"freed-wrong", "entries given to free()",
     [] {
       Items items = Fetch(LOG_SECURE);
       free(items.at(0).pEntries);
     }},
    {"freed-wrong", "entries deleted as one",
     [] {
       Items items = Fetch(LOG_SECURE);
       delete items.at(0).pEntries;
     }},
    {"freed-wrong", "entries deleted as bytes",
     [] {
       Items items = Fetch(LOG_SECURE);
       delete[] reinterpret_cast<char*>(items.at(0).pEntries);
     }},
    {"freed-wrong", "a string given to free()",
     [] {
       Items items = Fetch(LOG_MESSAGES);
       free(std::exchange(Message(items), nullptr)), Free(items);
     }},
    {"changed", "a string written to",
     [] {
       Items items = Fetch(LOG_MESSAGES);
       Message(items)[0] = L'?', Free(items);
     }},
    {"changed", "an entry given another meaning",
     [] {
       Items items = Fetch(LOG_MESSAGES);
       items.at(0).pEntries[0].dwEntryID = CE_HOST, Free(items);
     }},
    {"not-freed", "items forgotten", [] { Fetch(LOG_MESSAGES); }},
    {"not-freed", "a string forgotten",
     [] { module->Find<BSTR (*)(const wchar_t*)>("_Z14SysAllocStringPKw")(L"text"); }},
    {"level", "a level of 4", [] { Write(4, shortText); }},
    {"text-unterminated", "a text without its NUL", [] { Write(1, EndlessText()); }},
    {"write-incomplete", "a message without its text", [] { Write(1, shortText, 1); }},
    {"function-missing", "no gmExitMutex", [] { Start(); }, false},
    {"function-throws", "an exception in gmInitialize",
     [] { onInitialize = [] { throw std::runtime_error("no controller"); }, Start(); }, false},
    {"function-slow", "Output takes its time",
     [] {
       setenv("KESTRUNE_PROBE_LIMIT", "0.2", 1);
       onOutput = [] { onOutput = nullptr, usleep(600'000); };
       Start(), Stop();
     },
     false},
    {"function-size", "gmGetIPMIInfo writes 44 bytes", [] { tooMuch = 4, Start(), Stop(); }, false},
    {"function-size", "a property of two sizes",
     [] { card = 1, property = Property(8, 6, std::string("1;2\0...", 8)), Start(), Stop(); }, false},
    {"function-size", "a property without an end", [] { card = 1, property = Property(3, 3, "1;2"), Start(), Stop(); },
     false},
    {"function-size", "a property longer than told",
     [] { card = 1, property = Property(4, 4, std::string("1;2\0...", 8)), Start(), Stop(); }, false},
};
// NOLINTEND(cppcoreguidelines-*,clang-analyzer-*,bugprone-*)

/// What a right host sees of the messages, in one line.
std::string Look() {
  std::ostringstream seen;
  tagIDV identifier = Group(LOG_MESSAGES);
  uint32_t groups = 0;
  Get(SP_CONFIGGROUPS, &groups, nullptr);
  seen << groups << " groups";
  std::vector<tagCONFIGGROUP> catalogue(groups);
  if (!Get(SP_CONFIGGROUPS, &groups, catalogue.data())) seen << " refused";
  Items items;
  uint32_t count = 0;
  for (int attempt = 0; attempt < 3; ++attempt) {
    count = 0;
    Get(SP_CONFIGITEM, &identifier, &count, nullptr);
    seen << ", " << count << " counted";
    if (count == 0) return seen.str();
    items.assign(count, {});
    if (Get(SP_CONFIGITEM, &identifier, &count, items.data())) break;
    seen << " refused";
    count = 0;
  }
  size_t empty = 0, failed = 0, longest = 0;
  bool isForeign = false;
  items.resize(count);
  for (const tagCONFIGITEM& item : items) {
    if (item.dwEntryCount == 0) ++empty;
    for (uint32_t i = 0; i < item.dwEntryCount; ++i) {
      const tagVARIANT& value = item.pEntries[i].varValue;
      if (value.vt == VT_ERROR) ++failed;
      if (value.vt != VT_BSTR) continue;
      longest = std::max(longest, wcslen(value.value.bstrVal));
      for (const wchar_t* c = value.value.bstrVal; *c != 0; ++c) isForeign |= *c > 0x7F;
    }
  }
  seen << ", " << count << " fetched, " << empty << " empty, " << failed << " failed, longest " << longest
       << (isForeign ? ", foreign" : "");
  Free(items);
  return seen.str();
}

/// What a right host sees of each trouble. The log has three lines whose longest field is "number one".
const std::vector<std::pair<std::string, std::string>> TROUBLES{
    {"", "5 groups, 3 counted, 3 fetched, 0 empty, 0 failed, longest 10"},
    {"grow", "5 groups, 1 counted refused, 3 counted, 3 fetched, 0 empty, 0 failed, longest 10"},
    {"shrink", "5 groups, 3 counted, 1 fetched, 0 empty, 0 failed, longest 8"},
    {"refuse", "5 groups refused, 3 counted refused, 3 counted, 3 fetched, 0 empty, 0 failed, longest 10"},
    {"records=0", "5 groups, 0 counted"},
    {"records=1", "5 groups, 1 counted, 1 fetched, 0 empty, 0 failed, longest 8"},
    {"records=30000", "5 groups, 30000 counted, 30000 fetched, 0 empty, 0 failed, longest 12"},
    {"empty-catalogue", "1 groups, 3 counted, 3 fetched, 0 empty, 0 failed, longest 10"},
    {"no-entries", "5 groups, 3 counted, 3 fetched, 1 empty, 0 failed, longest 10"},
    {"error-value", "5 groups, 3 counted, 3 fetched, 0 empty, 3 failed, longest 8"},
    {"no-memory",
     "5 groups refused, 3 counted refused, 3 counted refused, 3 counted refused, 0 fetched, 0 empty, 0 "
     "failed, longest 0"},
    {"text", "5 groups, 3 counted, 3 fetched, 0 empty, 0 failed, longest 494, foreign"},
    {"late=1", "5 groups, 3 counted, 3 fetched, 0 empty, 0 failed, longest 10, late"},
    {"gone", "5 groups, 0 counted"},
};

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Runs a row in a process of its own. Returns the rules that the report names.
std::set<std::string> RulesReported(const std::vector<std::string>& command, const std::string& trouble,
                                    std::set<std::string>& all) {
  unlink("/tmp/report.tap");
  const pid_t child = fork();
  if (child == 0) {
    setenv("KESTRUNE_PROBE_REPORT", "/tmp/report", 1);
    setenv("KESTRUNE_PROBE_TROUBLE", trouble.c_str(), 1);
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execv(words[0], words.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  Check(status == 0, "the host ends well, and not with status " + std::to_string(status));
  std::istringstream report(ReadFile("/tmp/report.tap"));
  std::set<std::string> rules;
  for (std::string line; std::getline(report, line);) {
    const size_t dash = line.find(" - ");
    if (line.starts_with("#") || dash == std::string::npos) continue;
    all.insert(line.substr(dash + 3));
    if (line.starts_with("not ok")) rules.insert(line.substr(dash + 3));
  }
  return rules;
}

std::string Join(const std::set<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
  return text;
}

/// Runs every row, and the first one of the programs built in other ways. Returns how many went otherwise than they
/// should.
int RunAll(const std::string& self, const std::string& probe, const std::string& incomplete,
           const std::vector<std::string>& others) {
  int wrong = 0;
  const auto judge = [&](bool good, const std::string& what) {
    std::printf("%s: %s\n", good ? "so" : "NOT SO", what.c_str());
    std::fflush(stdout);
    wrong += good ? 0 : 1;
  };
  std::set<std::string> rules, withRow;
  const auto run = [&](const std::string& which, const std::string& number, const std::string& trouble) {
    try {
      return Join(RulesReported({which, probe, "run", number}, trouble, rules));
    } catch (const std::exception& error) {
      return std::string(error.what());
    }
  };
  for (size_t i = 0; i < ROWS.size(); ++i) {
    const std::string rule = ROWS[i].rule;
    const std::string found = run(rule == "function-missing" ? incomplete : self, std::to_string(i), "");
    judge(found == rule, std::string(ROWS[i].mistake) + ": reported by '" + found + "'");
    if (!rule.empty()) withRow.insert(rule);
  }
  for (const std::string& other : others) {
    const std::string found = run(other, "0", "");
    judge(found.empty(), std::string(other).append(": reported by '").append(found).append("'"));
  }
  judge(withRow == rules && !rules.empty(), "every rule has a row");
  for (const auto& [trouble, expected] : TROUBLES) {
    const std::string found = run(self, "look", trouble);
    const std::string seen = ReadFile("/tmp/seen");
    judge(found.empty() && seen == expected + "\n",
          std::string("trouble ").append(trouble).append(": ").append(seen).append(found));
  }
  std::ofstream("/tmp/trouble") << "# a file\nseed=7\n";
  std::set<std::string> seeded;
  std::vector<std::string> sights;
  for (const char* trouble : {"seed=7", "/tmp/trouble", "seed=10"}) {
    judge(run(self, "look", trouble).empty(), std::string("nothing found with ") + trouble);
    sights.push_back(ReadFile("/tmp/seen"));
  }
  judge(sights[0] == sights[1] && sights[0] != sights[2], "one seed, one run:\n" + sights[0]);
  return wrong;
}

/// One row, or a look at the messages with whatever trouble there is.
int RunOne(const std::string& probe, const std::string& number) {
  alarm(20);
  std::ofstream("/var/log/messages") << "Jan  5 10:00:01 host su: number one\nJan  5 10:00:02 host su: two\n"
                                     << "Jan  5 10:00:03 host su: three\n";
  std::ofstream("/var/log/secure") << "Jan  5 10:00:01 host su: one\n";
  std::ofstream("/var/log/agent.log") << "Jan  5 10:00:01 host su: gr\u00FCn\n";
  std::ofstream("/var/log/cron") << "Jan  5 10:00:01 host cron: one\n";
  module = std::make_unique<Probe>(probe.c_str());
  if (number != "look") {
    const Row& row = ROWS.at(std::stoul(number));
    if (row.isStarted) Start();
    row.run();
    if (row.isStarted) Stop();
  } else {
    Start();
    std::ofstream seen("/tmp/seen");
    const std::string trouble = std::getenv("KESTRUNE_PROBE_TROUBLE");
    const int rounds = trouble.find("seed") == 0 || trouble.find('/') == 0 ? 12 : 1;
    if (rounds > 1) alarm(0);
    for (int i = 0; i < rounds; ++i) {
      const auto begin = std::chrono::steady_clock::now();
      seen << Look();
      const bool isLate = std::chrono::steady_clock::now() - begin > std::chrono::milliseconds(1900);
      seen << (isLate && rounds == 1 ? ", late\n" : "\n");
    }
    Stop();
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3 || std::getenv("KESTRUNE_PRIVATE_MACHINE") == nullptr) {
    std::fputs("wronghosts: runs in a private machine, with the probe and its incomplete self\n", stderr);
    return 2;
  }
  try {
    if (argc == 4 && std::string(argv[2]) == "run") return RunOne(argv[1], argv[3]);
    return RunAll(argv[0], argv[1], argv[2], {argv + 3, argv + argc}) == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "wronghosts: %s\n", error.what());
    return 1;
  }
}
