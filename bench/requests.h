/// requests.h: whole requests to the built module, each in turn with what it must do, done by hand.
#ifndef KESTRUNE_BENCH_REQUESTS_H_
#define KESTRUNE_BENCH_REQUESTS_H_

#include <cstdint>

#include "bench/material.h"

namespace bench {

/// Loads the module and starts it. It stays until the process ends.
void StartModule(const char* path);

/// Time of the largest whole fetch, of a text log with a stale cache or of an unchanged SEL, over that of the floor and
/// of the commands.
double WholeTextFetch();
double WholeSELFetch();
/// Time of the newest 20 lines of the largest log, with a current cache, over that of the commands.
double NewestLines();
/// Time of the count of the largest SEL, unchanged, over that of the controller's count call and the copy command.
double SELCount();

/// Time per item of whole fetches of `log` over that at the smallest size, the worst of the other sizes.
double Growth(uint32_t log, const Sizes& sizes);
/// Memory at the peak of a whole fetch over the reply's and `prescribed` bytes an item.
double PeakMemory(uint32_t log, size_t size, size_t prescribed);

}  // namespace bench

#endif  // KESTRUNE_BENCH_REQUESTS_H_
