/// data.h: the data that the probe exports in the module's place, as the probe writes it: the texts, too, are those of
/// the module that it has loaded.
#ifndef KESTRUNE_PROBE_DATA_H_
#define KESTRUNE_PROBE_DATA_H_

#include <cstddef>

namespace probe {

/// A name of exported data, and the probe's room for it.
struct Data {
  const char* name;
  void* own;
  size_t size;
  bool isText;
};

inline constexpr size_t DATA_COUNT = 9;
extern const Data (&exportedData)[DATA_COUNT];

}  // namespace probe

#endif  // KESTRUNE_PROBE_DATA_H_
