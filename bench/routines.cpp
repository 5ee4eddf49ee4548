#include <benchmark/benchmark.h>

#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>

#include "bench/bench.h"
#include "hostdata/fillitem.h"
#include "sel/selline.h"
#include "sel/selstore.h"

namespace bench {
namespace {

/// Keeps the median ratio of each benchmark.
class Ratios : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") ratios_[run.run_name.function_name] = run.counters.at("ratio");
    }
  }
  double Of(const std::string& name) const { return ratios_.at(name); }

 private:
  std::map<std::string, double> ratios_;
};

void Register(const std::string& name, Pair pair) {
  const auto measure = [=](benchmark::State& state) mutable {
    std::vector<double> ratios;
    for ([[maybe_unused]] auto _ : state) ratios.push_back(pair.Ratio());
    state.counters["ratio"] = Median(ratios);
  };
  benchmark::RegisterBenchmark(name.c_str(), measure)->MinTime(0.05)->Repetitions(ROUNDS)->ReportAggregatesOnly();
}

/// A filler against the floor. It fills `size` items from what `prepare` lays out.
void RegisterFill(const std::string& name, size_t size, std::function<void()> prepare,
                  const std::function<void(tagCONFIGITEM*, uint32_t)>& fill) {
  auto items = std::make_shared<Items>(size);
  const Work work{std::move(prepare), [=] { fill(items->data(), static_cast<uint32_t>(size)); }, [=] { Free(*items); }};
  work.prepare();
  work.run();
  const Floor floor(*items);
  Free(*items);
  Register(name + std::to_string(size), {work, {work.prepare, [=] { floor.Build(*items); }, work.finish}});
}

using Line = std::array<char, SEL_LINE_SIZE>;

void RegisterSELToItems(const std::string& name, size_t size) {
  std::string text;
  for (const SELRecord& record : EventLog(size)) {
    Line line{};
    FormatSELLine(&record, line.data());
    text.append("0|").append(line.data());
  }
  auto copy = std::make_shared<std::string>();  // the text is cut in place
  RegisterFill(
      name, size, [=] { *copy = text; },
      [=](tagCONFIGITEM* items, uint32_t count) { FillConfigItem(items, 1, LOG_SEL, count, copy->data()); });
}

void RegisterRecordToLine(const std::string& name) {
  const std::vector<SELRecord> records = EventLog(RECORDS[0]);
  const auto each = [&](auto format) {
    return Work{{},
                [=] {
                  Line line;
                  for (const SELRecord& record : records) {
                    format(&record, line.data());
                    benchmark::DoNotOptimize(line);
                  }
                },
                {}};
  };
  for (const SELRecord& record : records) {
    Line line{};
    Line plain{};
    FormatSELLine(&record, line.data());
    FormatPlainLine(&record, plain.data());
    if (strcmp(line.data(), plain.data()) != 0)
      throw std::runtime_error(std::string("two lines: ") + line.data() + plain.data());
  }
  Register(name, {each(FormatSELLine), each(FormatPlainLine)});
}

}  // namespace

RoutineRatios MeasureRoutines() {
  if (InitSELLog() == 0) throw std::runtime_error("no resource manager");
  for (const size_t size : LINES) {
    const std::string path = "/tmp/lines" + std::to_string(size);
    std::ofstream(path) << LogText(size);
    RegisterFill(
        "lines", size, [] {},
        [=](tagCONFIGITEM* items, uint32_t count) { FillConfigItem(items, 1, LOG_MESSAGES, count, path.c_str()); });
  }
  for (const size_t size : RECORDS) RegisterSELToItems("SEL", size);
  RegisterRecordToLine("record");

  int count = 0;
  benchmark::Initialize(&count, nullptr);
  Ratios ratios;
  benchmark::RunSpecifiedBenchmarks(&ratios);
  UninitSELLog();

  RoutineRatios result{};
  for (size_t i = 0; i < LINES.size(); ++i) {
    result.linesToItems.at(i) = ratios.Of("lines" + std::to_string(LINES.at(i)));
    result.selToItems.at(i) = ratios.Of("SEL" + std::to_string(RECORDS.at(i)));
  }
  result.recordToLine = ratios.Of("record");
  return result;
}

}  // namespace bench
