/// measure.h: how time and memory are measured. Only ratios within one run mean anything.
#ifndef KESTRUNE_BENCH_MEASURE_H_
#define KESTRUNE_BENCH_MEASURE_H_

#include <cstdint>
#include <functional>
#include <vector>

namespace bench {

/// How often each thing is timed; the median counts.
inline constexpr int kRounds = 11;

struct Settings {
  /// Time on the clock instead of CPU time. CPU time is that of this process and of the commands it has waited for;
  /// what other processes do meanwhile does not count.
  bool wall_clock = false;
  /// Memory comes from the kernel, page by page, the C library having given back all that was free. Otherwise the heap
  /// has kept what is needed from earlier times.
  bool fresh_memory = false;
};
void Configure(const Settings& settings);

/// Something to be timed: `run` alone is. The others may be empty.
struct Work {
  std::function<void()> prepare;
  std::function<void()> run;
  std::function<void()> finish;
};
double Seconds(const Work& work);
double Median(std::vector<double> values);

/// Does both, one after the other, and tells the work's time over the reference's.
class Pair {
 public:
  Pair(Work work, Work reference) : work_(std::move(work)), reference_(std::move(reference)) {}
  double Ratio();
  double MedianRatio();

 private:
  Work work_;
  Work reference_;
  bool work_first_ = false;  ///< they begin by turns
};

/// Counts the bytes that the process, the module included, gets from operator new while `run` runs.
struct MemoryUse {
  int64_t peak;
  int64_t held;  ///< at the end
};
MemoryUse CountMemory(const std::function<void()>& run);

}  // namespace bench

#endif  // KESTRUNE_BENCH_MEASURE_H_
