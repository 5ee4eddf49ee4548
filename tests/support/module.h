/// module.h: the built module as a host sees it: loaded from its file, asked through its entry points, unloaded.
#ifndef KESTRUNE_TESTS_SUPPORT_MODULE_H_
#define KESTRUNE_TESTS_SUPPORT_MODULE_H_

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "standin/host/items.h"
#include "standin/host/module.h"
#include "tests/support/host.h"
#include "tests/support/machine.h"

// NOLINTBEGIN(google-global-names-in-headers): nearly every line of the tests names a log by one of them
using standin::Group;
using standin::Type;
// NOLINTEND(google-global-names-in-headers)

/// The module, loaded afresh from the file that KESTRUNE_MODULE names. The end of the object stops it, unloads it and
/// checks that it has left the process.
struct HostModule : standin::Module {
  HostModule();
  ~HostModule();
  KESTRUNE_MODULE_NAME(DefSPConfigHandler);
  KESTRUNE_MODULE_NAME(g_SPGlobal);
  KESTRUNE_MODULE_NAME(selEnable);
};

/// One item of a reply. `shape` lists the entries as ID:attributes; numbers are given as decimal text, strings in
/// UTF-8.
struct Row {
  uint32_t index;
  uint32_t id;
  std::string shape;
  Lines values;
  bool operator==(const Row&) const = default;
};
using Rows = std::vector<Row>;
inline void PrintTo(const Row& row, std::ostream* out) {
  *out << row.index << "/" << row.id << " [" << row.shape << "] " << testing::PrintToString(row.values);
}
inline constexpr char TEXT_SHAPE[] = "4:1 5:1 6:1 8:1 9:1";
inline constexpr char SEL_SHAPE[] = "4:1 5:1 9:1 10:1 11:1";
inline constexpr char PROPERTY_SHAPE[] = "1:1 2:10 3:10";

/// What an item request gave back; begin and end belong to the ranged form.
struct Reply {
  int32_t result;
  uint32_t count;
  uint32_t begin;
  uint32_t end;
  Rows rows;
  Lines messages;  ///< as TakeLines gives them
  /// The first four, to be compared at once.
  std::array<uint32_t, 4> Head() const { return {static_cast<uint32_t>(result), count, begin, end}; }
};

/// An item request with operation get. `count` is the capacity, and the host's array has exactly that many items.
struct ItemRequest {
  const char* name;
  tagIDV identifier;
  uint32_t count = 0;
  bool array = false;
  uint32_t begin = 0;
  uint32_t end = 0;
};

/// Sends the request and frees the entries. Checks that a reply fills as many items as it says and none behind, that a
/// refusal fills none, and that nothing beside the answer changes.
Reply Send(const HostModule& module, const ItemRequest& request);

inline Reply Query(const HostModule& module, const tagIDV& identifier) {
  return Send(module, {SP_CONFIGITEM, identifier});
}
inline Reply Fetch(const HostModule& module, const tagIDV& identifier, uint32_t capacity) {
  return Send(module, {SP_CONFIGITEM, identifier, capacity, true});
}
inline Reply QueryRange(const HostModule& module, const tagIDV& identifier, uint32_t begin, uint32_t end) {
  return Send(module, {SP_CONFIGITEMEX, identifier, 0, false, begin, end});
}
inline Reply FetchRange(const HostModule& module, const tagIDV& identifier, uint32_t begin, uint32_t end,
                        uint32_t capacity) {
  return Send(module, {SP_CONFIGITEMEX, identifier, capacity, true, begin, end});
}

/// A test in a clean machine with a clean host. At its end the module is unloaded, and /tmp, the merged log and the
/// open descriptors must be as they were.
class ModuleTest : public testing::Test {
 protected:
  ModuleTest();
  void TearDown() override;

  /// Loads the module if it is not.
  const HostModule& Load();
  /// Loads and starts it, and drops what it said.
  const HostModule& Start();
  void Unload() { module_.reset(); }
  /// What lies in /tmp now and did not before the test.
  std::set<std::string> NewInTmp() const;
  /// Plants each kind of thing under the name `path`, with a victim beside it, and sends `request`. That may neither
  /// wait for what is planted nor write through it, and leaves nothing; a folder is put aside.
  static void PlantAt(const std::string& path, const std::function<void()>& request);

 private:
  std::optional<HostModule> module_;
  std::set<std::string> tmpBefore_;
  std::set<int> descriptorsBefore_;
};

#endif  // KESTRUNE_TESTS_SUPPORT_MODULE_H_
