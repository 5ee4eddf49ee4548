/// followedmodule.h: a module that is asked again and again for logs that grow.
///
/// A module lists a text log as it was when it was first asked for it, until it is asked for another one, so that a
/// host can page through it. This knows how to have it look again.
#ifndef KESTRUNE_STANDIN_FOLLOW_FOLLOWEDMODULE_H_
#define KESTRUNE_STANDIN_FOLLOW_FOLLOWEDMODULE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "standin/requests.h"
#include "standin/session.h"

namespace standin {

class FollowedModule {
 public:
  /// `session` is not owned.
  explicit FollowedModule(Session& session);

  /// The records of the log as it is now. Until this is called again, ReadRange reads the text log of that moment.
  uint32_t CountAnew(uint16_t log);

  /// Records `begin` to `end` of the log asked for last, newest first.
  std::vector<Row> ReadRange(uint16_t log, uint32_t begin, uint32_t end) const;

  /// Loads and starts the module anew: it has forgotten everything then.
  void Reload();

  /// Entries of the controller's log that the module has read.
  size_t EntriesRead() const { return session_.GetKeeper().Size(); }

  std::vector<std::string> Files(uint16_t log) const;
  const Module& GetModule() const { return session_.GetModule(); }
  Controller& GetController() { return session_.GetController(); }

 private:
  bool TurnAway(uint16_t log) const;

  Session& session_;
  bool knowsSEL_ = false;     ///< whether it holds the controller's entries, which it would have to read anew
  uint16_t lastTextLog_ = 0;  ///< the text log that the module was asked for last
  size_t appFiles_ = 0;       ///< the most files that the application log had
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_FOLLOWEDMODULE_H_
