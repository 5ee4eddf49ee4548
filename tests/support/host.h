/// host.h: the host process of the tests: the functions that the module resolves from whoever loads it, what they
/// answer and what they were asked. Messages and calls may arrive from any thread.
#ifndef KESTRUNE_TESTS_SUPPORT_HOST_H_
#define KESTRUNE_TESTS_SUPPORT_HOST_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/nubo.h"

/// One entry of the scripted controller's event log.
struct ScriptedEntry {
  uint16_t record_id;
  uint16_t next_id;
  SELRecord record;
  bool fails = false;
};

/// What the host answers: a supported machine without a controller, until a test says otherwise.
struct TestHost {
  int supported = 1;                   ///< GeneralOSSupportChecking
  int dist = 0;                        ///< GetOSDist
  int initialize = 0;                  ///< gmInitialize
  int uninitialize = 1;                ///< gmUninitialize
  int info = 1;                        ///< gmGetIPMIInfo
  uint32_t card = 1;                   ///< its card ID
  int property_size = 1;               ///< gmGetProperty without a buffer
  int property_text = 1;               ///< gmGetProperty with one
  std::optional<std::string> mapping;  ///< text of G_IPMI_ZARP_ID; unset: its size is 0
  int enumerate = 1;                   ///< gmSELEnumEntry
  std::optional<uint32_t> sel_count;   ///< its count; unset: as many as there are entries
  std::vector<ScriptedEntry> sel;      ///< the event log; the front is its first entry
  /// gmExecSensorValue; unset: `out` stays untouched.
  std::function<void(uint32_t sensor, const tagVARIANT& in, tagVARIANT* out)> convert;
  std::function<void(const std::string& line)> on_message;  ///< runs inside Output, with the line of TakeLines
  std::function<void(const std::string& call)> on_call;     ///< runs first thing inside each gm... function

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
/// The calls of gm... functions since the last call: the name, followed for gmGetIPMIEntry by the record ID and for
/// gmExecSensorValue by the sensor ID asked for, in decimal.
Lines TakeCalls();

/// A message of operation `where` as TakeLines gives it: an error, a debug message.
inline std::string Err(const std::string& where, const std::string& what) {
  return "256 Err (kestrune:" + where + "): " + what + "\n";
}
inline std::string Dbg(const std::string& where, const std::string& what) {
  return "2048 Dbg (kestrune:" + where + "): " + what + "\n";
}

#endif  // KESTRUNE_TESTS_SUPPORT_HOST_H_
