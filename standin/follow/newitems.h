/// newitems.h: what of a list of a log's records is new beside what was seen of the log before.
///
/// Records are compared by keys: texts that hold all that is known of a record, so that two records have one key only
/// where nobody could tell them apart.
#ifndef KESTRUNE_STANDIN_FOLLOW_NEWITEMS_H_
#define KESTRUNE_STANDIN_FOLLOW_NEWITEMS_H_

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace standin {

using Keys = std::vector<std::string>;

/// Of a log that has an order of its own, such as the controller's: both lists are newest first. The two belong
/// together where a run of `listed` that starts there is found in `seen`, over CHAIN records or as far as both lists
/// go; what stands before the first such place is new, and all of it where there is none. So a log that lost its oldest
/// records, or was cleared and filled anew in front of an archive, goes on behind what was seen. A single record is
/// such a place only when it was the newest one: a cleared log may begin as the old one did. Returns the number of
/// records that are new.
size_t CountNew(const Keys& seen, const Keys& listed);
inline constexpr size_t CHAIN = 8;

/// Of a log whose lines are sorted by their text, so that a new line may stand anywhere: as often as a line is listed
/// more than it was before, it is new.
class SeenLines {
 public:
  /// Notes the next line of a list. Returns whether it is new.
  bool Note(const std::string& key);

  /// Ends the list, with which the next one is compared. One that is not whole leaves out lines that were seen before.
  void EndList(bool isWhole);

 private:
  using Counts = std::unordered_map<size_t, size_t>;  ///< by the keys' hashes: a long log need not stand in memory
  Counts before_;
  Counts listed_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_NEWITEMS_H_
