/// bench.h: what the benchmarks are made of. Times and memory are compared within one run; alone they mean nothing.
#ifndef KESTRUNE_BENCH_BENCH_H_
#define KESTRUNE_BENCH_BENCH_H_

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kestrune/kestrune.h"
#include "platform/nubo.h"
#include "standin/host/items.h"

namespace bench {

// ---- measure.cpp: time and memory ----------------------------------------------------------------------------------

/// How often each thing is timed; the median counts.
inline constexpr int ROUNDS = 11;

struct Settings {
  /// Time on the clock, not CPU time: that of this process and of the commands it has waited for, which leaves out what
  /// other processes do meanwhile.
  bool wallClock = false;
  /// Memory comes from the kernel, page by page, the C library having given back all that was free. Otherwise the heap
  /// has kept what is needed from earlier times.
  bool freshMemory = false;
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

/// A work and its reference, timed one after the other, each first by turns.
struct Pair {
  Work work;
  Work reference;
  bool workFirst = false;

  double Ratio();        ///< the work's time over the reference's
  double MedianRatio();  ///< of ROUNDS
};

/// Prints a row of the table: the ratio, and whether it meets the goal, which is an upper bound unless `atLeast`.
void Row(const char* work, const char* against, double ratio, double goal, bool atLeast = false);

/// Bytes from operator new, the module's included.
struct MemoryUse {
  int64_t peak;
  int64_t held;  ///< at the end
};
MemoryUse CountMemory(const std::function<void()>& run);

// ---- material.cpp: logs that look like real ones, the same in every run, and the floor of a reply ------------------

/// Sizes of the logs: lines of the text log, records of the SEL.
using Sizes = std::array<size_t, 3>;
inline constexpr Sizes LINES = {300, 3'000, 30'000};
inline constexpr Sizes RECORDS = {1'000, 10'000, 65'000};

/// A system log; a line has 60 to 160 characters with its newline.
std::string LogText(size_t lines);
/// An event log; a shorter one is the beginning of a longer one.
std::vector<SELRecord> EventLog(size_t records);

/// The host's array of items, each with five entries once it is filled.
using Items = std::vector<standin::Item>;
void Free(Items& items);

/// What no module can do without: the entry arrays and strings of a reply, allocated and widened byte by byte from text
/// at hand.
class Floor {
 public:
  /// Takes the text, which is ASCII, from a reply.
  explicit Floor(const Items& reply);
  void Build(Items& items) const;

 private:
  struct Entry {
    uint32_t id;
    uint16_t type;
    int64_t number;
    size_t offset;
    size_t length;
  };
  std::string text_;
  std::vector<Entry> entries_;
};

// ---- host.cpp: the host --------------------------------------------------------------------------------------------

/// The sensors have the numbers 1 to SENSORS. The host's ID of each is as much greater as this, and it names them all.
inline constexpr uint32_t SENSORS = 48;
inline constexpr uint32_t HOST_SENSOR_BASE = 0x2000;

/// Makes this the log of the controller, which is there from the first call on.
void SetEventLog(std::vector<SELRecord> records);

// ---- routines.cpp, plainline.cpp: the module's routines, as they stand in its objects ------------------------------

/// Times over those of the reference.
struct RoutineRatios {
  std::array<double, 3> linesToItems;  ///< at the sizes LINES, over the floor
  std::array<double, 3> selToItems;    ///< at the sizes RECORDS, over the floor
  double recordToLine;                 ///< over the plain way
};
RoutineRatios MeasureRoutines();

/// The plain way to do what FormatSELLine does, for a record whose sensor the host has a name for.
void FormatPlainLine(const SELRecord* record, char* line);

// ---- requests.cpp: whole requests to the built module --------------------------------------------------------------

/// Loads the module and starts it. It stays until the process ends.
void StartModule(const char* path);

// Times over those of the commands by hand and, for a whole fetch, of the floor. The logs have their largest size; the
// caches are current but for the text log's in its whole fetch.
double WholeTextFetch();
double WholeSELFetch();
double NewestLines();
/// The whole fetch and the freeing, with the probe between host and module, over those without it.
double ProbedTextFetch(const char* probe, const char* realModule);
double SELCount();

/// Time per item of whole fetches of `log` over that at the smallest size, the worst of the other sizes.
double Growth(uint32_t log, const Sizes& sizes);
/// Memory at the peak of a whole fetch over the reply's and `prescribed` bytes an item.
double PeakMemory(uint32_t log, size_t size, size_t prescribed);

}  // namespace bench

#endif  // KESTRUNE_BENCH_BENCH_H_
