#include "bench/measure.h"

#include <algorithm>
#include <cstddef>

namespace bench {
namespace {

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double Now(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

}  // namespace

double Seconds(const Work& work, clockid_t clock) {
  if (work.prepare) work.prepare();
  const double start = Now(clock);
  work.run();
  const double time = Now(clock) - start;
  if (work.finish) work.finish();
  return time;
}

double PairedRatio(const Work& work, const Work& reference) {
  Seconds(work);  // both once to warm up
  Seconds(reference);
  std::vector<double> ratios;
  for (int i = 0; i < kRounds; ++i) {
    const bool work_first = i % 2 == 0;
    const double first = Seconds(work_first ? work : reference);
    const double second = Seconds(work_first ? reference : work);
    ratios.push_back(work_first ? first / second : second / first);
  }
  return Median(ratios);
}

std::vector<double> TimesInTurn(const std::vector<Work>& works) {
  std::vector<std::vector<double>> times(works.size());
  for (const Work& work : works) Seconds(work);
  for (int i = 0; i < kRounds; ++i) {
    for (size_t j = 0; j < works.size(); ++j) times[j].push_back(Seconds(works[j]));
  }
  std::vector<double> medians;
  for (const auto& each : times) medians.push_back(Median(each));
  return medians;
}

}  // namespace bench
