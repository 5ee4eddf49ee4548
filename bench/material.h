/// material.h: what is measured with: logs that look like real ones, the same in every run, and the floor of a reply.
#ifndef KESTRUNE_BENCH_MATERIAL_H_
#define KESTRUNE_BENCH_MATERIAL_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/nubo.h"

namespace bench {

/// Sizes of the logs: lines of the text log, records of the SEL.
using Sizes = std::array<size_t, 3>;
inline constexpr Sizes kLines = {300, 3'000, 30'000};
inline constexpr Sizes kRecords = {1'000, 10'000, 65'000};

/// The sensors have the numbers 1 to kSensors. The host's ID of each is as much greater as this, and it names them all.
inline constexpr uint32_t kSensors = 48;
inline constexpr uint32_t kHostSensorBase = 0x2000;

/// A system log; a line has 60 to 160 characters with its newline.
std::string LogText(size_t lines);
/// An event log; a shorter one is the beginning of a longer one.
std::vector<SELRecord> EventLog(size_t records);
/// Makes this the controller's log.
void SetEventLog(std::vector<SELRecord> records);

/// The host's array of items, each with five entries while there is a reply in it.
class Reply {
 public:
  explicit Reply(size_t size) : items_(size) {}
  ~Reply() { Free(); }
  Reply(const Reply&) = delete;
  Reply& operator=(const Reply&) = delete;

  tagCONFIGITEM* Items() { return items_.data(); }
  size_t Size() const { return items_.size(); }
  void Free();

 private:
  std::vector<tagCONFIGITEM> items_;
};

/// What no module can do without: a reply's entry arrays and strings, allocated and widened byte by byte from text at
/// hand.
class Floor {
 public:
  /// Takes the text from a reply, which must be ASCII.
  explicit Floor(Reply& reply);
  void Build(Reply& reply) const;

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

}  // namespace bench

#endif  // KESTRUNE_BENCH_MATERIAL_H_
