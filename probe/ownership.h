/// ownership.h: the entry arrays and strings that became the host's: which request gave each, and what became of it.
#ifndef KESTRUNE_PROBE_OWNERSHIP_H_
#define KESTRUNE_PROBE_OWNERSHIP_H_

#include <cstdint>
#include <string>

#include "kestrune/kestrune.h"

namespace probe {

/// How something was freed; what came by way of the host's own `delete` may have been any.
enum class Means { ARRAY_DELETE, DELETE, FREE, UNKNOWN };

/// Notes the entries and strings of items that a call gave, which `origin` describes.
void GiveItems(const tagCONFIGITEM* items, uint32_t count, uint32_t call, const std::string& origin);

/// Notes a string that a call gave; what the host writes into it is its own affair.
void GiveString(BSTR string, uint32_t call, const std::string& origin);

/// Tells that the host frees `memory`. Returns true if it had been given and needs no more freeing: it is kept for a
/// while, so that a second time can be told from the first one.
bool TakeBack(void* memory, Means means);

/// Reports what is still the host's, request by request, and forgets it.
void ReportLeft();

/// Frees what was kept.
void ForgetAll();

}  // namespace probe

#endif  // KESTRUNE_PROBE_OWNERSHIP_H_
