#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "bench/bench.h"
#include "standin/host/module.h"
#include "standin/host/selfile.h"

namespace bench {
namespace {

constexpr char LOG[] = "/var/log/messages";
constexpr char SEL_FILE[] = "/etc/zarp/conf/ipmi.log";
constexpr uint32_t PAGE = 20;

const standin::Module* module = nullptr;

void Check(bool good, const char* what) {
  if (!good) throw std::runtime_error(std::string("failed: ") + what);
}

void Get(const char* request, uint32_t log, void* count, tagCONFIGITEM* items) {
  tagIDV identifier = standin::Group(log);
  Check(module->SPConfig(SP_OP_GET, request, &identifier, count, items) == 1, request);
}

void Count(uint32_t log, size_t expected) {
  uint32_t count = 0;
  Get(SP_CONFIGITEM, log, &count, nullptr);
  Check(count == expected, "count");
}

void Fetch(uint32_t log, Items& items) {
  auto count = static_cast<uint32_t>(items.size());
  Get(SP_CONFIGITEM, log, &count, items.data());
  Check(count == items.size(), "fetch");
}

/// Makes the caches stale, the module's and that of the commands by hand.
void DropCaches() {
  unlink("/tmp/._kestrune_cache");
  unlink("/tmp/cache");
}

/// Makes this the log, stale in the cache, or the controller's log, known to the module.
void SetLog(uint32_t log, size_t size) {
  if (log == LOG_SEL) {
    SetEventLog(EventLog(size));
    Count(LOG_SEL, size);
  } else {
    std::ofstream(LOG) << LogText(size);
    DropCaches();
  }
}

/// Runs commands as the module does, on files of their own: those that count through a pipe, the others as they are.
void ByHand(std::initializer_list<const char*> commands) {
  for (const char* command : commands) {
    if (std::string_view(command).starts_with("wc")) {
      FILE* pipe = popen(command, "re");
      long lines = 0;
      Check(pipe != nullptr && fscanf(pipe, "%ld", &lines) == 1, command);
      pclose(pipe);
    } else {
      Check(system(command) == 0, command);
    }
  }
  unlink("/tmp/work");
}

void TextFetchByHand() {
  ByHand({"wc -l /var/log/messages|awk '{print $1}'", "cp -f /var/log/messages /tmp/cache",
          "cp -f /tmp/cache /tmp/work", "wc -l /tmp/work|awk '{print $1}'",
          "sed 's/^\\(....\\) /\\10/' /tmp/work > /tmp/work1", "sort -M -r /tmp/work1 > /tmp/work 2>/dev/null",
          "rm -f /tmp/work1 2>/dev/null", "wc -l /tmp/work|awk '{print $1}'"});
}

void NewestLinesByHand() {
  ByHand({"cp -f /tmp/cache /tmp/work", "wc -l /tmp/work|awk '{print $1}'",
          "sed -n '29981,30000p' /tmp/work|sed 's/^\\(....\\) /\\10/' > /tmp/work1",
          "sort -M -r /tmp/work1 > /tmp/work 2>/dev/null", "rm -f /tmp/work1 2>/dev/null",
          "wc -l /tmp/work|awk '{print $1}'"});
}

void SELCountByHand() {
  uint32_t count = 0;
  gmSELEnumEntry(&count);
  ByHand({"cp -f /etc/zarp/conf/ipmi.log /tmp/work 2>/dev/null"});
}

/// The copy that every request for the SEL takes. There is no SEL log file, so it fails, as the module's own does.
void SELCopyByHand() {
  [[maybe_unused]] const int status = system("cp -f /etc/zarp/conf/ipmi.log /tmp/work 2>/dev/null");
}

double WholeFetch(uint32_t log, size_t size, const std::function<void()>& commands) {
  SetLog(log, size);
  Items items(size);
  Fetch(log, items);
  const Floor floor(items);
  Free(items);
  const auto byHand = [&] {
    commands();
    floor.Build(items);
  };
  const auto free = [&] { Free(items); };
  return Pair{{DropCaches, [&] { Fetch(log, items); }, free}, {DropCaches, byHand, free}}.MedianRatio();
}

}  // namespace

void StartModule(const char* path) {
  static const standin::Module loaded(path);
  module = &loaded;
  Check(module->SPInitialize(nullptr, nullptr) == 1, "start");
}

double WholeTextFetch() { return WholeFetch(LOG_MESSAGES, LINES.back(), TextFetchByHand); }
double WholeSELFetch() { return WholeFetch(LOG_SEL, RECORDS.back(), SELCopyByHand); }

double NewestLines() {
  SetLog(LOG_MESSAGES, LINES.back());
  TextFetchByHand();  // makes the cache that the commands by hand use
  Items items(PAGE);
  const auto fetch = [&] {
    tagITEMRANGE range{1, PAGE, 0, PAGE};
    Get(SP_CONFIGITEMEX, LOG_MESSAGES, &range, items.data());
    Check(range.dwCount == PAGE, "fetch of a range");
  };
  return Pair{{{}, fetch, [&] { Free(items); }}, {{}, NewestLinesByHand, {}}}.MedianRatio();
}

double ProbedTextFetch(const char* probe, const char* realModule) {
  // The probe gets a module of its own: that of the other rows stays as it is, and started.
  const std::string copy = "/tmp/libkestrune.so";
  std::filesystem::copy_file(realModule, copy);
  setenv("KESTRUNE_PROBE_MODULE", copy.c_str(), 1);
  SetLog(LOG_MESSAGES, LINES.back());
  Items items(LINES.back());
  const standin::Module* const bare = module;
  std::optional<standin::Module> probed;
  const auto load = [&] {
    DropCaches();
    module = &probed.emplace(probe);
    Check(module->SPInitialize(nullptr, nullptr) == 1, "start of the probe");
  };
  const auto unload = [&] {
    module = bare;
    probed.reset();
  };
  const auto fetch = [&] {
    Fetch(LOG_MESSAGES, items);
    Free(items);
  };
  const double ratio = Pair{{load, fetch, unload}, {DropCaches, fetch, {}}}.MedianRatio();
  unlink(copy.c_str());
  return ratio;
}

double SELCount() {
  constexpr size_t OLDER = 500;
  SetLog(LOG_SEL, RECORDS.back());
  std::filesystem::create_directories("/etc/zarp/conf");
  std::ofstream(SEL_FILE) << standin::MakeSelLog(EventLog(OLDER));
  const double ratio =
      Pair{{{}, [] { Count(LOG_SEL, RECORDS.back() + OLDER); }, {}}, {{}, SELCountByHand, {}}}.MedianRatio();
  unlink(SEL_FILE);
  return ratio;
}

double Growth(uint32_t log, const Sizes& sizes) {
  const auto timePerItem = [&](size_t size) {
    Items items(size);
    const Work fetch{[&] { SetLog(log, size); }, [&] { Fetch(log, items); }, [&] { Free(items); }};
    return Seconds(fetch) / static_cast<double>(size);
  };
  std::vector<double> ratios(ROUNDS);
  for (double& ratio : ratios) {
    const double smallest = timePerItem(sizes[0]);
    ratio = std::max(timePerItem(sizes[1]), timePerItem(sizes[2])) / smallest;
  }
  return Median(ratios);
}

double PeakMemory(uint32_t log, size_t size, size_t prescribed) {
  SetLog(log, size);
  Items items;
  const MemoryUse use = CountMemory([&] {
    items.resize(size);
    Fetch(log, items);
  });
  Free(items);
  return static_cast<double>(use.peak) / static_cast<double>(use.held + static_cast<int64_t>(prescribed * size));
}

}  // namespace bench
