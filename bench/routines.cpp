#include "bench/routines.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/floor.h"
#include "bench/host.h"
#include "bench/material.h"
#include "bench/measure.h"
#include "bench/plainline.h"
#include "hostdata/fillitem.h"
#include "sel/selfilter.h"
#include "sel/selstore.h"

namespace bench {
namespace {

/// Keeps the median of each benchmark; shows what it is told if it is to.
class Medians : public benchmark::ConsoleReporter {
 public:
  explicit Medians(bool verbose) : ConsoleReporter(OO_Tabular), verbose_(verbose) {
    SetOutputStream(&std::cerr);
    SetErrorStream(&std::cerr);
  }

  bool ReportContext(const Context& context) override { return !verbose_ || ConsoleReporter::ReportContext(context); }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") medians_[run.run_name.function_name] = run.GetAdjustedRealTime();
    }
    if (verbose_) ConsoleReporter::ReportRuns(runs);
  }

  /// The times of the benchmarks `name` and `name` with " reference".
  Times Of(const std::string& name) const { return {medians_.at(name), medians_.at(name + " reference")}; }

 private:
  bool verbose_;
  std::map<std::string, double> medians_;
};

void Register(const std::string& name, const Work& work) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [work](benchmark::State& state) {
                                 for ([[maybe_unused]] auto _ : state)
                                   state.SetIterationTime(Seconds(work, CLOCK_THREAD_CPUTIME_ID));
                               })
      ->UseManualTime()
      ->MinTime(0.05)
      ->Repetitions(kRounds)
      ->ReportAggregatesOnly()
      ->Unit(benchmark::kMicrosecond);
}

/// `text` is a copy of the text to be cut, made for each time.
void RegisterFill(const std::string& name, size_t count, std::function<void()> prepare,
                  const std::function<void(tagCONFIGITEM*)>& fill) {
  auto items = std::make_shared<HostItems>(count);
  const Work work{std::move(prepare), [=] { fill(items->Data()); }, [=] { items->Free(); }};
  work.prepare();
  work.run();
  auto floor = std::make_shared<Floor>(*items);
  items->Free();
  Register(name, work);
  Register(name + " reference", {work.prepare, [=] { floor->Build(*items); }, work.finish});
}

void RegisterLinesToItems(const std::string& name, size_t lines) {
  const std::string path = "/tmp/bench." + std::to_string(lines);
  std::ofstream(path) << LogText(lines);
  RegisterFill(
      name, lines, [] {},
      [=](tagCONFIGITEM* items) {
        FillConfigItem(items, 1, LOG_MESSAGES, static_cast<uint32_t>(lines), path.c_str());
      });
}

std::string SELText(const std::vector<SELRecord>& records) {
  std::string text;
  for (const SELRecord& record : records) {
    std::array<char, SEL_LINE_SIZE> line{};
    FormatSELLine(&record, line.data());
    text.append("0|").append(line.data());
  }
  return text;
}

/// The text is cut in place, so that each time needs a copy.
void RegisterSELToItems(const std::string& name, size_t records) {
  auto text = std::make_shared<std::string>(SELText(EventLog(records)));
  auto copy = std::make_shared<std::string>();
  RegisterFill(
      name, records, [=] { *copy = *text; },
      [=](tagCONFIGITEM* items) { FillConfigItem(items, 1, LOG_SEL, static_cast<uint32_t>(records), copy->data()); });
}

void RegisterRecordToLine(const std::string& name) {
  auto records = std::make_shared<std::vector<SELRecord>>(EventLog(kRecords[0]));
  for (const SELRecord& record : *records) {
    std::array<char, SEL_LINE_SIZE> line{};
    std::array<char, SEL_LINE_SIZE> plain{};
    FormatSELLine(&record, line.data());
    FormatPlainLine(record, plain.data());
    if (strcmp(line.data(), plain.data()) != 0)
      throw std::runtime_error(std::string("two lines for a record: ") + line.data() + plain.data());
  }
  const auto each = [records](auto format) {
    return [=] {
      std::array<char, SEL_LINE_SIZE> line;
      for (const SELRecord& record : *records) {
        format(record, line.data());
        benchmark::DoNotOptimize(line);
      }
    };
  };
  Register(name, {{}, each([](const SELRecord& record, char* line) { FormatSELLine(&record, line); }), {}});
  Register(name + " reference", {{}, each(FormatPlainLine), {}});
}

}  // namespace

RoutineTimes MeasureRoutines(bool verbose) {
  if (InitSELLog() == 0) throw std::runtime_error("no resource manager");
  const auto lines_name = [](size_t i) { return "lines to items " + std::to_string(kLines.at(i)); };
  const auto sel_name = [](size_t i) { return "SEL text to items " + std::to_string(kRecords.at(i)); };
  for (size_t i = 0; i < kLines.size(); ++i) RegisterLinesToItems(lines_name(i), kLines[i]);
  for (size_t i = 0; i < kRecords.size(); ++i) RegisterSELToItems(sel_name(i), kRecords[i]);
  RegisterRecordToLine("record to line");

  char program[] = "kestrune-bench";
  char in_turn[] = "--benchmark_enable_random_interleaving=true";
  std::array<char*, 2> arguments{program, in_turn};
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  Medians medians(verbose);
  benchmark::RunSpecifiedBenchmarks(&medians);
  benchmark::Shutdown();
  UninitSELLog();

  RoutineTimes times{};
  for (size_t i = 0; i < kLines.size(); ++i) times.lines_to_items.at(i) = medians.Of(lines_name(i));
  for (size_t i = 0; i < kRecords.size(); ++i) times.sel_to_items.at(i) = medians.Of(sel_name(i));
  times.record_to_line = medians.Of("record to line");
  return times;
}

}  // namespace bench
