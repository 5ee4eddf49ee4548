/// cmdvalues.h: values of the command line, taken from their texts. All throw Failure (wrong arguments) with what is
/// allowed.
#ifndef KESTRUNE_STANDIN_CMDVALUES_H_
#define KESTRUNE_STANDIN_CMDVALUES_H_

#include <cstdint>
#include <string>

#include "standin/ipmioptions.h"
#include "standin/requests.h"

namespace standin {

/// A range of records.
Lines ParseLines(const std::string& text);

/// A settings word.
uint64_t ParseWord(const std::string& text);

/// Text in wide characters, as values travel.
std::wstring Widen(const std::string& text);

/// Takes HOST[:PORT]; an IPv6 address with a port stands in brackets.
void ParseAddress(const std::string& text, IPMIOptions& ipmi);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_CMDVALUES_H_
