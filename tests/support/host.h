/// host.h: the host process of the tests: what it answers to the module, and what it was told and asked. Messages and
/// calls may arrive from any thread.
#ifndef KESTRUNE_TESTS_SUPPORT_HOST_H_
#define KESTRUNE_TESTS_SUPPORT_HOST_H_

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "standin/host/host.h"

/// One entry of the scripted controller's event log.
struct ScriptedEntry {
  uint16_t recordId;
  uint16_t nextId;
  SELRecord record;
  bool fails = false;
};

/// A supported machine without a controller, until a test says otherwise.
struct TestHost : standin::HostProcess {
  TestHost();

  std::optional<std::string> mapping;     ///< text of G_IPMI_ZARP_ID; unset: its size is 0
  int enumerate = 1;                      ///< whether the controller tells its number of entries
  std::optional<uint32_t> selCount;       ///< that number; unset: as many as there are entries
  std::vector<ScriptedEntry> sel;         ///< the event log; the front is its first entry
  std::map<uint32_t, std::string> names;  ///< the resource manager's, by the sensors' host IDs
  /// Of a string request, "size" and "text": that step fails; "empty": a size of 0 is told; "full": the size is filled
  /// without a NUL; "long": 8 bytes too many are told; "short": 3 too few, and all are written.
  std::string fault;
  std::function<void(const std::string& line)> onMessage;  ///< runs inside Output, with the line of TakeLines
  std::function<void(const std::string& call)> onCall;     ///< runs first thing inside each gm... function

  /// A controller that starts, with `text` as the table of sensor IDs.
  void PlugInController(const std::string& text) {
    initialize = 1;
    mapping = text;
  }
};
TestHost& Host();

using Lines = std::vector<std::string>;

/// The messages sent to Output since the last call, each as its level, a blank and its text.
Lines TakeLines();
/// The calls of gm... functions since the last call, as standin::HostProcess notes them.
Lines TakeCalls();

/// A message of operation `where` as TakeLines gives it: an error, a debug message.
inline std::string Err(const std::string& where, const std::string& what) {
  return "256 Err (kestrune:" + where + "): " + what + "\n";
}
inline std::string Dbg(const std::string& where, const std::string& what) {
  return "2048 Dbg (kestrune:" + where + "): " + what + "\n";
}

#endif  // KESTRUNE_TESTS_SUPPORT_HOST_H_
