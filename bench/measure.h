/// measure.h: how things are timed. Only ratios of times within one run mean anything.
#ifndef KESTRUNE_BENCH_MEASURE_H_
#define KESTRUNE_BENCH_MEASURE_H_

#include <time.h>

#include <functional>
#include <vector>

namespace bench {

/// How often each thing is timed; the median counts.
inline constexpr int kRounds = 11;

/// Something to be timed: `run` alone is. The others may be empty.
struct Work {
  std::function<void()> prepare;
  std::function<void()> run;
  std::function<void()> finish;
};

/// CPU time serves for what the thread does alone: another process that gets in between does not count.
double Seconds(const Work& work, clockid_t clock = CLOCK_MONOTONIC);

/// The median of the work's time over the reference's in kRounds pairs, which begin by turns with the one and the
/// other.
double PairedRatio(const Work& work, const Work& reference);

/// The median time of each work, all of them done in turn kRounds times.
std::vector<double> TimesInTurn(const std::vector<Work>& works);

}  // namespace bench

#endif  // KESTRUNE_BENCH_MEASURE_H_
