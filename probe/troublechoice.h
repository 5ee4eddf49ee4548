/// troublechoice.h: which trouble a request gets: the one that was asked for, or one drawn from a seed.
#ifndef KESTRUNE_PROBE_TROUBLECHOICE_H_
#define KESTRUNE_PROBE_TROUBLECHOICE_H_

#include <cstdint>

#include "probe/request.h"

namespace probe {

enum class Trouble {
  NONE,
  GROW,
  SHRINK,
  REFUSE,
  RECORDS,
  EMPTY_CATALOGUE,
  NO_ENTRIES,
  ERROR_VALUE,
  NO_MEMORY,
  TEXT,
  LATE,
  GONE
};

/// A trouble with its number: records, or milliseconds.
struct Choice {
  Trouble trouble = Trouble::NONE;
  uint32_t number = 0;
};

/// Reads KESTRUNE_PROBE_TROUBLE.
void ReadTroubleChoice();

/// The trouble of this request. The two calls of a list get the same one.
Choice ChooseTrouble(const Request& request);

/// Its name, or null for none.
const char* NameOf(Trouble trouble);

}  // namespace probe

#endif  // KESTRUNE_PROBE_TROUBLECHOICE_H_
