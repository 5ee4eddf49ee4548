/// protocol.h: the two calls of a list: the count, and the records.
#ifndef KESTRUNE_PROBE_PROTOCOL_H_
#define KESTRUNE_PROBE_PROTOCOL_H_

#include <cstdint>
#include <string>

#include "probe/request.h"

namespace probe {

/// Before the module answers a request for a list: whether it goes with what was counted.
void CheckTurn(const Request& request, const std::string& what);

/// After it: what the answer was.
void NoteAnswer(const Request& request, int32_t result, const std::string& what);

/// At the stop: reports the counts that were never followed by a fetch, and forgets all.
void ReportUnfetched();

}  // namespace probe

#endif  // KESTRUNE_PROBE_PROTOCOL_H_
