/// fillitem.h: cuts filtered log lines into the host's items.
/// The lines are described in textlog/textline.h and sel/selline.h. What would lie past the end of a line is the empty
/// string, and a line without the separator after its host or sensor gives the rest of the line for that.
#ifndef KESTRUNE_HOSTDATA_FILLITEM_H_
#define KESTRUNE_HOSTDATA_FILLITEM_H_

#include <cstdint>

#include "kestrune/kestrune.h"

/// Fills one item per line of `resultFile`, at most `maxCount`, numbered from `firstIndex` on: date, time, source,
/// host, message. Returns 1, or 0 with nothing filled when the file cannot be opened. Throws std::bad_alloc; items
/// filled before keep their entries.
int FillConfigItem(tagCONFIGITEM* items, uint32_t firstIndex, uint32_t id, uint32_t maxCount, const char* resultFile);

/// Fills one item per newline-terminated line of `selText`, which may be changed: date, time, description, sensor,
/// origin. Returns 1. Otherwise as above.
int FillConfigItem(tagCONFIGITEM* items, uint32_t firstIndex, uint32_t id, uint32_t maxCount, char* selText);

#endif  // KESTRUNE_HOSTDATA_FILLITEM_H_
