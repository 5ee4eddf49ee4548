/// requests.h: whole requests to the built module, each timed in turn with what they must do, done by hand.
#ifndef KESTRUNE_BENCH_REQUESTS_H_
#define KESTRUNE_BENCH_REQUESTS_H_

#include <cstdint>

#include "bench/floor.h"
#include "bench/material.h"
#include "kestrune/kestrune.h"

namespace bench {

class Requests {
 public:
  /// Loads the module and starts it.
  explicit Requests(const char* module);
  ~Requests();
  Requests(const Requests&) = delete;
  Requests& operator=(const Requests&) = delete;

  // Time over that of the reference.

  /// A whole fetch of kLines.back() lines with a stale cache; the commands and the floor of the reply.
  double WholeTextFetch() const;
  /// The newest 20 of kLines.back() lines with a current cache; the commands.
  double NewestLines() const;
  /// A whole fetch of an unchanged SEL of kRecords.back() records; the floor of the reply.
  double WholeSELFetch() const;
  /// The count of an unchanged SEL; the controller's count call and the copy command.
  double SELCount() const;

  // Time per line or record of a whole fetch over that at the smallest size, the worst of the other sizes.

  double TextGrowth() const;
  double SELGrowth() const;

  // Memory at the peak of a whole fetch of the largest size over what must be there.

  double TextMemory() const;
  double SELMemory() const;

 private:
  /// Each throws when the module does not answer as it should.
  void Ask(const char* request, uint32_t log, void* range, tagCONFIGITEM* items) const;
  void Count(uint32_t log, size_t expected) const;
  void FetchAll(uint32_t log, HostItems& items) const;

  /// Makes this the log: a text log with a stale cache, or a SEL that the module has read.
  void Lay(uint32_t log, size_t size) const;

  double Growth(uint32_t log, const Sizes& sizes) const;
  double Memory(uint32_t log, size_t size, size_t prescribed) const;

  void* handle_;
  decltype(&::SPConfig) config_ = nullptr;
};

}  // namespace bench

#endif  // KESTRUNE_BENCH_REQUESTS_H_
