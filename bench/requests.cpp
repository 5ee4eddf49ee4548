#include "bench/requests.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/host.h"
#include "bench/material.h"
#include "bench/measure.h"
#include "bench/memory.h"

namespace bench {
namespace {

constexpr char kLog[] = "/var/log/messages";
constexpr char kModuleCache[] = "/tmp/._kestrune_cache";
constexpr char kSELFile[] = "/etc/zarp/conf/ipmi.log";
constexpr uint32_t kPage = 20;
constexpr size_t kSELLineSize = 256;

template <typename Function>
Function* Find(void* handle, const char* name, Function*) {
  return reinterpret_cast<Function*>(dlsym(handle, name));
}

// The commands of the module, on files of their own.

void Run(const char* command) {
  if (system(command) != 0) throw std::runtime_error(std::string("failed: ") + command);
}

void CountLines(const char* command) {
  FILE* pipe = popen(command, "re");
  long lines = 0;
  if (pipe == nullptr || fscanf(pipe, "%ld", &lines) != 1) throw std::runtime_error(std::string("failed: ") + command);
  pclose(pipe);
}

void RunWholeTextFetch() {
  CountLines("wc -l /var/log/messages|awk '{print $1}'");
  Run("cp -f /var/log/messages /tmp/hand.cache");
  Run("cp -f /tmp/hand.cache /tmp/hand.work");
  CountLines("wc -l /tmp/hand.work|awk '{print $1}'");
  Run("sed 's/^\\(....\\) /\\10/' /tmp/hand.work > /tmp/hand.work1");
  Run("sort -M -r /tmp/hand.work1 > /tmp/hand.work 2>/dev/null");
  Run("rm -f /tmp/hand.work1 2>/dev/null");
  CountLines("wc -l /tmp/hand.work|awk '{print $1}'");
  unlink("/tmp/hand.work");
}

void RunNewestLines() {
  Run("cp -f /tmp/hand.cache /tmp/hand.work");
  CountLines("wc -l /tmp/hand.work|awk '{print $1}'");
  Run("sed -n '29981,30000p' /tmp/hand.work|sed 's/^\\(....\\) /\\10/' > /tmp/hand.work1");
  Run("sort -M -r /tmp/hand.work1 > /tmp/hand.work 2>/dev/null");
  Run("rm -f /tmp/hand.work1 2>/dev/null");
  CountLines("wc -l /tmp/hand.work|awk '{print $1}'");
  unlink("/tmp/hand.work");
}

void RunSELCount() {
  uint32_t count = 0;
  gmSELEnumEntry(&count);
  Run("cp -f /etc/zarp/conf/ipmi.log /tmp/hand.sel 2>/dev/null");
  unlink("/tmp/hand.sel");
}

/// A SEL log file of older records, with its header.
void WriteSELFile(size_t records) {
  const std::vector<SELRecord> log = EventLog(records);
  const auto size = static_cast<uint32_t>(9 + log.size() * sizeof(SELRecord));
  std::string header(9, '\0');
  for (unsigned int i = 0; i < 4; ++i) header[4 + i] = static_cast<char>(size >> (8 * i));
  for (size_t i = 0; i < 8; ++i) header[8] = static_cast<char>(header[8] - header[i]);
  std::filesystem::create_directories("/etc/zarp/conf");
  std::ofstream file(kSELFile);
  file << header;
  file.write(reinterpret_cast<const char*>(log.data()), static_cast<std::streamsize>(log.size() * sizeof(SELRecord)));
}

}  // namespace

Requests::Requests(const char* module) : handle_(dlopen(module, RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) throw std::runtime_error(dlerror());
  config_ = Find(handle_, "SPConfig", config_);
  uint32_t out = 0;
  if (Find(handle_, "SPInitialize", &::SPInitialize)(nullptr, &out) != 1) throw std::runtime_error("no start");
}

Requests::~Requests() {
  Find(handle_, "SPUninitialize", &::SPUninitialize)();
  dlclose(handle_);
}

void Requests::Ask(const char* request, uint32_t log, void* range, tagCONFIGITEM* items) const {
  tagIDV identifier{};
  identifier.dwIDVType = IDV_CONFIGGROUP;
  identifier.id.group.wConfigGroupID = static_cast<uint16_t>(log);
  if (config_(SP_OP_GET, request, &identifier, range, items) != 1) throw std::runtime_error("a request failed");
}

void Requests::Count(uint32_t log, size_t expected) const {
  uint32_t count = 0;
  Ask(SP_CONFIGITEM, log, &count, nullptr);
  if (count != expected) throw std::runtime_error("a wrong count");
}

void Requests::FetchAll(uint32_t log, HostItems& items) const {
  auto count = static_cast<uint32_t>(items.Capacity());
  Ask(SP_CONFIGITEM, log, &count, items.Data());
  if (count != items.Capacity()) throw std::runtime_error("a wrong number of items");
}

void Requests::Lay(uint32_t log, size_t size) const {
  if (log == LOG_SEL) {
    SetEventLog(EventLog(size));
    Count(LOG_SEL, size);  // the module reads it
  } else {
    std::ofstream(kLog) << LogText(size);
    unlink(kModuleCache);
  }
}

double Requests::WholeTextFetch() const {
  Lay(LOG_MESSAGES, kLines.back());
  HostItems items(kLines.back());
  FetchAll(LOG_MESSAGES, items);
  const Floor floor(items);
  items.Free();
  const auto free = [&] { items.Free(); };
  return PairedRatio({[] { unlink(kModuleCache); }, [&] { FetchAll(LOG_MESSAGES, items); }, free},
                     {[] { unlink("/tmp/hand.cache"); },
                      [&] {
                        RunWholeTextFetch();
                        floor.Build(items);
                      },
                      free});
}

double Requests::NewestLines() const {
  Lay(LOG_MESSAGES, kLines.back());
  RunWholeTextFetch();  // makes the cache of the hand-run commands
  HostItems items(kPage);
  const auto fetch = [&] {
    tagITEMRANGE range{1, kPage, 0, kPage};
    Ask(SP_CONFIGITEMEX, LOG_MESSAGES, &range, items.Data());
    if (range.dwCount != kPage) throw std::runtime_error("a wrong number of items");
  };
  return PairedRatio({{}, fetch, [&] { items.Free(); }}, {{}, RunNewestLines, {}});
}

double Requests::WholeSELFetch() const {
  Lay(LOG_SEL, kRecords.back());
  HostItems items(kRecords.back());
  FetchAll(LOG_SEL, items);
  const Floor floor(items);
  items.Free();
  const auto free = [&] { items.Free(); };
  return PairedRatio({{}, [&] { FetchAll(LOG_SEL, items); }, free}, {{}, [&] { floor.Build(items); }, free});
}

double Requests::SELCount() const {
  constexpr size_t kOlder = 500;
  Lay(LOG_SEL, kRecords.back());
  WriteSELFile(kOlder);
  const double ratio = PairedRatio({{}, [&] { Count(LOG_SEL, kRecords.back() + kOlder); }, {}}, {{}, RunSELCount, {}});
  unlink(kSELFile);
  return ratio;
}

double Requests::Growth(uint32_t log, const Sizes& sizes) const {
  std::vector<Work> works;
  for (const size_t size : sizes) {
    auto items = std::make_shared<HostItems>(size);
    works.push_back({[=, this] { Lay(log, size); }, [=, this] { FetchAll(log, *items); }, [=] { items->Free(); }});
  }
  const std::vector<double> times = TimesInTurn(works);
  const auto each = [&](size_t i) { return times.at(i) / static_cast<double>(sizes.at(i)); };
  return std::max(each(1), each(2)) / each(0);
}

double Requests::Memory(uint32_t log, size_t size, size_t prescribed) const {
  Lay(log, size);
  const MemoryCount memory;
  HostItems items(size);
  FetchAll(log, items);
  return static_cast<double>(memory.Peak()) /
         static_cast<double>(memory.Held() + static_cast<int64_t>(size * prescribed));
}

double Requests::TextGrowth() const { return Growth(LOG_MESSAGES, kLines); }
double Requests::SELGrowth() const { return Growth(LOG_SEL, kRecords); }
double Requests::TextMemory() const { return Memory(LOG_MESSAGES, kLines.back(), 0); }
double Requests::SELMemory() const { return Memory(LOG_SEL, kRecords.back(), kSELLineSize); }

}  // namespace bench
