/// journal.h: the system's journal, written to over its own protocol.
#ifndef KESTRUNE_STANDIN_FOLLOW_JOURNAL_H_
#define KESTRUNE_STANDIN_FOLLOW_JOURNAL_H_

#include <string>
#include <vector>

namespace standin {

enum class JournalSync {
  DONE,        ///< all that was sent is on the disk, or this journal cannot tell
  UNANSWERED,  ///< it is not known yet
  GONE         ///< the journal's process ended: what was sent may be lost
};

/// One process of the journal at a time. It is the same one that takes entries and that says that they are on the disk:
/// one that was started in between would know nothing of those that went with the one before.
class Journal {
 public:
  Journal() = default;
  ~Journal() { Close(); }
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  /// Makes sure that there is one, and waits until it answers, for some seconds.
  JournalSync Open();

  /// Sends an entry with these fields, each as NAME=VALUE. Returns false when nobody took it. An entry that was taken
  /// may still be lost with the journal's process, until Synchronize says that it was not.
  bool Send(const std::vector<std::string>& fields);

  /// Has the journal write what was sent to it since Open, and waits for that, for some seconds. Where the answer did
  /// not come in time, the next call waits for it.
  JournalSync Synchronize();

 private:
  void Close();
  JournalSync Ask();

  int socket_ = -1;         ///< to the journal that answered last
  bool isAwaited_ = false;  ///< whether an answer is to come there
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_JOURNAL_H_
