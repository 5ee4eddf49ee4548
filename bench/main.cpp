/// main.cpp: measures the module and prints a table of ratios, in Markdown. Run it with script/bench, in a private
/// machine: it writes to /var/log, /tmp and /etc/zarp.
#include <locale.h>
#include <malloc.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <string_view>
#include <thread>

#include "bench/requests.h"
#include "bench/routines.h"

namespace {

constexpr char kLocale[] = "C.UTF-8";
constexpr char kResourceManager[] = "/usr/zarp/lib/libresmgr.so";

void PrintRow(const char* work, const char* against, double ratio, const char* bound, double goal) {
  const bool is_met = bound[0] == '<' ? ratio <= goal : ratio >= goal;
  std::printf("| %-52s | %-44s | %5.2f | %s %.1f | %-6s |\n", work, against, ratio, bound, goal,
              is_met ? "met" : "missed");
  std::fflush(stdout);
}

void AtMost(double goal, const char* work, const char* against, double ratio) {
  PrintRow(work, against, ratio, "<=", goal);
}
void AtLeast(double goal, const char* work, const char* against, double ratio) {
  PrintRow(work, against, ratio, ">=", goal);
}

/// How much more the work takes over its reference at the larger sizes than at the smallest, the worst of them.
double Growth(const std::array<bench::Times, 3>& times) {
  return std::max(times[1].Ratio(), times[2].Ratio()) / times[0].Ratio();
}

void Measure(bool verbose) {
  const bench::RoutineTimes routines = bench::MeasureRoutines(verbose);
  const bench::Requests requests(KESTRUNE_BENCH_MODULE);
  std::printf("| %-52s | %-44s | %5s | %6s | %6s |\n|---|---|---|---|---|\n", "Work", "Against", "Ratio", "Goal", "");
  AtMost(1.1, "whole fetch of 30,000 lines, stale cache, UTF-8", "the commands by hand, and the floor",
         requests.WholeTextFetch());
  AtMost(1.1, "newest 20 of 30,000 lines, current cache", "the commands by hand", requests.NewestLines());
  AtMost(1.5, "lines into items, 30,000 lines", "the floor", routines.lines_to_items.back().Ratio());
  AtMost(2.0, "whole fetch of an unchanged SEL, 65,000 records", "the floor", requests.WholeSELFetch());
  AtLeast(3.0, "SEL record to text line, host-named sensor", "times as fast as the plain way",
          1 / routines.record_to_line.Ratio());
  AtMost(1.5, "SEL text to items, 65,000 records", "the floor", routines.sel_to_items.back().Ratio());
  AtMost(1.1, "count of an unchanged SEL", "the count call and the copy command", requests.SELCount());
  AtMost(1.0, "growth of a whole fetch, 300 to 30,000 lines", "the time per line of 300", requests.TextGrowth());
  AtMost(1.0, "growth of a whole fetch, 1,000 to 65,000 records", "the time per record of 1,000", requests.SELGrowth());
  AtMost(1.0, "growth of lines into items, 300 to 30,000 lines", "the growth of the floor",
         Growth(routines.lines_to_items));
  AtMost(1.0, "growth of SEL text to items, 1,000 to 65,000", "the growth of the floor", Growth(routines.sel_to_items));
  AtMost(1.2, "memory, whole fetch of 30,000 lines", "the reply", requests.TextMemory());
  AtMost(1.2, "memory, whole fetch of 65,000 records", "the reply, and 256 bytes a line", requests.SELMemory());
  std::printf("\n%u cores\n", std::thread::hardware_concurrency());
}

}  // namespace

int main(int count, char** arguments) {
  const bool verbose = count == 2 && std::string_view(arguments[1]) == "--verbose";
  if (count > 2 || (count == 2 && !verbose)) {
    std::fprintf(stderr, "kestrune-bench: the one argument there is is --verbose\n");
    return 2;
  }
  if (access("/var/log/messages", F_OK) == 0 || access(kResourceManager, R_OK) != 0) {
    std::fprintf(stderr, "kestrune-bench: this is no private machine; start it with script/bench\n");
    return 1;
  }
  setenv("LC_ALL", kLocale, 1);  // for the commands
  if (setlocale(LC_ALL, "") == nullptr) {
    std::fprintf(stderr, "kestrune-bench: the locale %s is missing\n", kLocale);
    return 1;
  }
  // Memory once fetched from the kernel stays: when the C library gives it back would decide what is measured.
  if (getenv("BENCH_FRESH") == nullptr) {
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_MAX, 0);
  }
  try {
    Measure(verbose);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kestrune-bench: %s\n", error.what());
    return 1;
  }
}
