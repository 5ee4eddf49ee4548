#include <malloc.h>
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "bench/bench.h"

namespace {

bool counting = false;
bench::MemoryUse memoryUse;

}  // namespace

// The other forms of new and delete end in these. While nothing is counted they cost what the library's own cost.

[[gnu::noinline]] void* operator new(size_t size) {
  void* memory = malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  if (counting) {
    memoryUse.held += static_cast<int64_t>(malloc_usable_size(memory));
    memoryUse.peak = std::max(memoryUse.peak, memoryUse.held);
  }
  return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  if (counting) memoryUse.held -= static_cast<int64_t>(malloc_usable_size(memory));
  free(memory);
}

void operator delete(void* memory, size_t) noexcept { operator delete(memory); }

namespace bench {
namespace {

Settings current;

/// Puts the heap in order: pieces freed before would slow down whatever comes next.
void SettleHeap() {
  if (current.freshMemory) malloc_trim(0);
  void* volatile large = malloc(1 << 20);  // a large request makes the C library merge the pieces
  free(large);
}

double Now() {
  timespec own{};
  clock_gettime(current.wallClock ? CLOCK_MONOTONIC : CLOCK_PROCESS_CPUTIME_ID, &own);
  rusage children{};
  if (!current.wallClock) getrusage(RUSAGE_CHILDREN, &children);
  return static_cast<double>(own.tv_sec + children.ru_utime.tv_sec + children.ru_stime.tv_sec) +
         static_cast<double>(own.tv_nsec) / 1e9 +
         static_cast<double>(children.ru_utime.tv_usec + children.ru_stime.tv_usec) / 1e6;
}

}  // namespace

void Configure(const Settings& settings) {
  current = settings;
  if (settings.freshMemory) return;
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_MAX, 0);
}

double Seconds(const Work& work) {
  if (work.prepare) work.prepare();
  SettleHeap();
  const double start = Now();
  work.run();
  const double time = Now() - start;
  if (work.finish) work.finish();
  return time;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double Pair::Ratio() {
  workFirst = !workFirst;
  const double first = Seconds(workFirst ? work : reference);
  const double second = Seconds(workFirst ? reference : work);
  return workFirst ? first / second : second / first;
}

double Pair::MedianRatio() {
  Ratio();  // warms up
  std::vector<double> ratios(ROUNDS);
  for (double& ratio : ratios) ratio = Ratio();
  return Median(ratios);
}

void Row(const char* work, const char* against, double ratio, double goal, bool atLeast) {
  const char* verdict = (atLeast ? ratio >= goal : ratio <= goal) ? "met" : "missed";
  std::printf("| %-50s | %-36s | %5.2f | %s %.1f | %-6s |\n", work, against, ratio, atLeast ? ">=" : "<=", goal,
              verdict);
  std::fflush(stdout);
}

MemoryUse CountMemory(const std::function<void()>& run) {
  memoryUse = {};
  counting = true;
  run();
  counting = false;
  return memoryUse;
}

}  // namespace bench
