/// main.cpp: measures the module and prints a table of ratios. To be run by script/bench, in a private machine, for it
/// writes to /var/log, /tmp and /etc/zarp.
#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "bench/bench.h"

namespace {

/// How much more the work grows than its reference, from the smallest size to the worst of the others.
double Growth(const std::array<double, 3>& ratios) { return std::max(ratios[1], ratios[2]) / ratios[0]; }

void Measure() {
  bench::SetEventLog({});
  const bench::RoutineRatios routines = bench::MeasureRoutines();
  bench::StartModule(KESTRUNE_BENCH_MODULE);
  std::printf("| %-50s | %-36s | Ratio | Goal   |        |\n|---|---|---|---|---|\n", "Work", "Against");
  bench::Row("whole fetch of 30,000 lines, stale cache, UTF-8", "the commands by hand, and the floor",
             bench::WholeTextFetch(), 1.1);
  bench::Row("newest 20 of 30,000 lines, current cache", "the commands by hand", bench::NewestLines(), 1.1);
  bench::Row("whole fetch of 30,000 lines, probed", "the same without the probe",
             bench::ProbedTextFetch(KESTRUNE_BENCH_PROBE, KESTRUNE_BENCH_MODULE), 1.5);
  bench::Row("lines into items, 30,000 lines", "the floor", routines.linesToItems.back(), 1.5);
  bench::Row("whole fetch of an unchanged SEL, 65,000 records", "the copy command, and the floor",
             bench::WholeSELFetch(), 2);
  bench::Row("SEL record to text line, host-named sensor", "times as fast as the plain way", 1 / routines.recordToLine,
             3, true);
  bench::Row("SEL text to items, 65,000 records", "the floor", routines.selToItems.back(), 1.5);
  bench::Row("count of an unchanged SEL", "the count call and the copy command", bench::SELCount(), 1.1);
  bench::Row("growth of a whole fetch, 300 to 30,000 lines", "the time per line of 300",
             bench::Growth(LOG_MESSAGES, bench::LINES), 1.1);
  bench::Row("growth of a whole fetch, 1,000 to 65,000 records", "the time per record of 1,000",
             bench::Growth(LOG_SEL, bench::RECORDS), 1.1);
  bench::Row("growth of lines into items, 300 to 30,000 lines", "the growth of the floor",
             Growth(routines.linesToItems), 1.1);
  bench::Row("growth of SEL text to items, 1,000 to 65,000", "the growth of the floor", Growth(routines.selToItems),
             1.1);
  bench::Row("memory at the peak, 30,000 lines", "the reply", bench::PeakMemory(LOG_MESSAGES, bench::LINES.back(), 0),
             1.2);
  bench::Row("memory at the peak, 65,000 records", "the reply, and 256 bytes a line",
             bench::PeakMemory(LOG_SEL, bench::RECORDS.back(), 256), 1.2);
  std::printf("\n%u cores\n", std::thread::hardware_concurrency());
}

}  // namespace

int main(int count, char** arguments) {
  bench::Settings settings;
  for (int i = 1; i < count; ++i) {
    settings.wallClock |= std::string_view(arguments[i]) == "--wall-clock";
    settings.freshMemory |= std::string_view(arguments[i]) == "--fresh-memory";
  }
  setenv("LC_ALL", "C.UTF-8", 1);  // for the commands too
  try {
    if (!std::filesystem::is_empty("/var/log")) throw std::runtime_error("no private machine; start script/bench");
    if (setlocale(LC_ALL, "") == nullptr) throw std::runtime_error("the locale C.UTF-8 is missing");
    bench::Configure(settings);
    Measure();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kestrune-bench: %s\n", error.what());
    return 1;
  }
}
