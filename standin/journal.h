/// journal.h: the system's journal, written to over its own protocol.
#ifndef KESTRUNE_STANDIN_JOURNAL_H_
#define KESTRUNE_STANDIN_JOURNAL_H_

#include <string>
#include <vector>

namespace standin {

/// Whether somebody takes entries.
bool IsJournalThere();

/// Sends an entry with these fields, each as NAME=VALUE. Returns false when nobody took it. An entry that was taken may
/// still be lost with the journal's process, until SyncJournal says that it was not.
bool SendToJournal(const std::vector<std::string>& fields);

enum class JournalSync {
  DONE,        ///< all that was sent is on the disk, or this journal cannot tell
  UNANSWERED,  ///< it is not known yet
  GONE         ///< the journal's process ended: what was sent may be lost
};

/// Has the journal write what was sent to it, and waits for that, for some seconds.
JournalSync SyncJournal();

}  // namespace standin

#endif  // KESTRUNE_STANDIN_JOURNAL_H_
