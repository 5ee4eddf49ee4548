/// findings.h: what was found. Each finding is a line on standard error at once, and stands in the report:
/// KESTRUNE_PROBE_REPORT names it without the endings .tap and .xml. The report is written anew with each finding,
/// since a mistake may well be the end of its process.
#ifndef KESTRUNE_PROBE_FINDINGS_H_
#define KESTRUNE_PROBE_FINDINGS_H_

#include <string>

#include "probe/rules.h"

namespace probe {

/// Makes the memory of the findings; forked children share that of their parent. Returns whether this process had
/// loaded the probe before: then what was found stays, and the report goes on.
bool PrepareReport();

/// Notes that `what` was done against `rule`. The same words are noted once. From any thread, also in a forked child,
/// whose findings stand in the report of its parent.
void Report(Rule rule, const std::string& what);

/// Writes the report as it stands, with a line for every rule.
void WriteReport();

}  // namespace probe

#endif  // KESTRUNE_PROBE_FINDINGS_H_
