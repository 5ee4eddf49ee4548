/// journalfields.h: a record of the event log as an entry of the system's journal.
#ifndef KESTRUNE_STANDIN_FOLLOW_JOURNALFIELDS_H_
#define KESTRUNE_STANDIN_FOLLOW_JOURNALFIELDS_H_

#include <string>
#include <vector>

#include "standin/output/table.h"

namespace standin {

/// The MESSAGE_ID of every entry.
inline constexpr char SEL_MESSAGE_ID[] = "f76dcacad5ca4bffb91934fddc575b84";

/// The fields, each as NAME=VALUE, of a row of the event log. A record has the same fields whenever it is sent, and
/// SEL_RECORD_ID and SEL_TIME tell records apart. What a record does not have is left out, but for the time.
std::vector<std::string> JournalFields(const Row& row);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_JOURNALFIELDS_H_
