/// cmdvalues.h: values of the command line, taken from their texts. All throw Failure (wrong arguments) with what is
/// allowed.
#ifndef KESTRUNE_STANDIN_CMDVALUES_H_
#define KESTRUNE_STANDIN_CMDVALUES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "standin/ipmi/ipmioptions.h"
#include "standin/requests.h"

namespace standin {

/// The texts between commas, empty ones too, which name nothing.
std::vector<std::string> SplitList(const std::string& text);

/// A range of records: A-B, A- for all from A on, -B or B for the newest B.
Lines ParseLines(const std::string& text);

/// A time as people give it (logtime.h), of a day its first second, or its last at the `end` of a range. Seconds since
/// 1970.
int64_t ParseTime(const std::string& option, const std::string& text, bool end);

/// The numbers of the sensor types that `text` lists, separated by commas: numbers, or the beginnings of the standard's
/// words in either case.
std::vector<int64_t> ParseSensorTypes(const std::string& text);

/// The severities that it lists.
std::vector<std::string> ParseSeverities(const std::string& text);

/// A settings word.
uint64_t ParseWord(const std::string& text);

/// Text in wide characters, as values travel.
std::wstring Widen(const std::string& text);

/// Takes HOST[:PORT]; an IPv6 address with a port stands in brackets.
void ParseAddress(const std::string& text, IPMIOptions& ipmi);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_CMDVALUES_H_
