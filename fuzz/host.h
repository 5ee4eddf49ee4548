/// host.h: what the fuzz targets share: the host that the module's code finds around it, and ways to look at a reply.
#ifndef KESTRUNE_FUZZ_HOST_H_
#define KESTRUNE_FUZZ_HOST_H_

#include <fuzzer/FuzzedDataProvider.h>  // which brings <algorithm>, <cstring>, <string>, <vector> and more

#include <memory>

#include "kestrune/kestrune.h"
#include "platform/nubo.h"
#include "standin/host/items.h"

/// Every target defines this: takes one input through the code under test, in the locale C.UTF-8.
void Fuzz(FuzzedDataProvider& input);

/// Ends the run with a finding unless `holds`, which it must whatever the input.
void Require(bool holds, const char* invariant);

/// What the host answers; new for every input, which also decides whether a NUL ends a text.
struct FuzzHost {
  std::string mapping;               ///< G_IPMI_ZARP_ID
  std::string name;                  ///< the name of every sensor; empty: it has none
  uint64_t reading = 0;              ///< what every reading converts to
  std::vector<tagSEL_DATA> sel;      ///< the controller's log; the front is its first entry
  std::vector<std::string> written;  ///< what was sent to the system log: priority, blank, text
};
inline FuzzHost g_host;

/// The path of a file that holds `content` until the next call, for this process and its children.
const char* FileWith(const std::string& content);

/// The host's items. No byte after them can be touched.
struct HostItems : standin::MarkedItems {
  using MarkedItems::MarkedItems;
  /// How many were filled. Requires that the others, after them, are as they were.
  size_t CountFilled() const;
};

/// The bytes of a line from column `from` on, up to `to`; empty past its end.
std::string Columns(const std::string& line, size_t from, size_t to = std::string::npos);

/// Requires an entry to have this ID and text; a text that is not valid in the locale counts as empty.
void RequireText(const tagCONFIGENTRY& entry, uint32_t id, const std::string& text);

#endif  // KESTRUNE_FUZZ_HOST_H_
