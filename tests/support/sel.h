/// sel.h: event log records, the logs that hold them, and what the module must say of them, worked out without it.
#ifndef KESTRUNE_TESTS_SUPPORT_SEL_H_
#define KESTRUNE_TESTS_SUPPORT_SEL_H_

#include <cstdio>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/module.h"

using Lines = std::vector<std::string>;
using Records = std::vector<SELRecord>;

inline SELRecord MakeRecord(int type, int event, int data1, int data2 = 0, int data3 = 0, int sensor = 0,
                            uint32_t time = 0) {
  SELRecord record = {0x34, 0x12, 0x02, 0, 0, 0, 0, 0x20, 0xEF, 4};
  for (size_t i = 0; i < 4; ++i) record[RECORD_TIME + i] = static_cast<uint8_t>(time >> 8 * i);
  size_t place = RECORD_SENSOR_TYPE;
  for (const int field : {type, sensor, event, data1, data2, data3}) record[place++] = static_cast<uint8_t>(field);
  return record;
}

/// Records that no row fits, told apart by marks, lower-case letters for which their times stand: 0 for "a".
inline Records PlainRecords(const std::string& marks) {
  Records records;
  for (const char mark : marks) records.push_back(MakeRecord(0, 0, 0, 0, 0, 0, static_cast<uint32_t>(mark - 'a')));
  return records;
}

/// The items of plain records, given oldest first and listed newest first, after the items `rows`. `origin`: 0 the
/// controller, 1 the SEL log file.
inline std::vector<Row> PlainRows(size_t index, int origin, const std::string& marks, std::vector<Row> rows = {}) {
  for (size_t i = marks.size(); i-- > 0;) {
    const int seconds = marks[i] - 'a';  // up to 25
    const std::string two = std::to_string(seconds + 100).substr(1),
                      hex = {"01"[seconds / 16], "0123456789ABCDEF"[seconds % 16]};
    const std::string dump = "Unspecified event! Hex dump : 34 12 02 " + hex + " 00 00 00 20 EF 04 00 00 00 00 00 00";
    const Lines values = {"Jan  1", "00:00:" + two, dump, "N/A", std::to_string(origin)};
    rows.push_back({static_cast<uint32_t>(index++), LOG_SEL, SEL_SHAPE, values});
  }
  return rows;
}

/// The controller's log of these records, numbered from 1.
inline std::vector<ScriptedEntry> MakeSEL(const Records& records) {
  std::vector<ScriptedEntry> log;
  uint16_t id = 0;
  for (const SELRecord& record : records) log.push_back({++id, static_cast<uint16_t>(id + 1), record});
  if (!log.empty()) log.back().nextId = SEL_LAST_ENTRY;
  return log;
}

/// The controller's log written out: "1a 2b>7! 3c" is its first entry 1 with the plain record a, followed by entry 2
/// with the plain record b, which says that entry 7 follows, and which cannot be read, and the last entry, 3.
inline std::vector<ScriptedEntry> MakeChain(const std::string& text) {
  std::vector<ScriptedEntry> log;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    char mark = 0;
    ScriptedEntry entry{0, SEL_LAST_ENTRY, {}, word.back() == '!'};
    EXPECT_GE(std::sscanf(word.c_str(), "%hu%c>%hu", &entry.recordId, &mark, &entry.nextId), 2);
    if (!log.empty() && log.back().nextId == SEL_LAST_ENTRY) log.back().nextId = entry.recordId;
    entry.record = PlainRecords({mark})[0];
    log.push_back(entry);
  }
  return log;
}

/// The calls of one walk: for the count, then for the entries with these record IDs.
inline Lines WalkCalls(const std::vector<int>& recordIds) {
  Lines calls = {"gmSELEnumEntry"};
  for (const int id : recordIds) calls.push_back("gmGetIPMIEntry " + std::to_string(id));
  return calls;
}

/// A SEL log file of these records, oldest first. Its size and checksum can be made wrong by a difference.
inline std::string MakeLogFile(const Records& records, int sizeError = 0, int checksumError = 0) {
  const int size = 9 + 16 * static_cast<int>(records.size()) + sizeError;
  std::string file = "log?";  // four bytes that mean nothing to the module
  for (int shift = 0; shift < 32; shift += 8) file += static_cast<char>(size >> shift);
  file += static_cast<char>(checksumError - std::accumulate(file.begin(), file.end(), 0));
  for (const SELRecord& record : records) file.append(record.begin(), record.end());
  return file;
}
inline constexpr char LOG_FILE[] = "/etc/zarp/conf/ipmi.log";

/// As machine::SeedTemporary, for a copy of it.
inline std::string SeedCopy() { return machine::SeedTemporary("/tmp/__sellog__tmp"); }

/// The messages of a plain ("") or ranged ("Ex") request, and those on a SEL log file that is bad or missing.
inline Lines Report(const std::string& form, Lines messages) {
  messages.insert(messages.begin(), "2048 Dbg (kestrune): in OnGetConfigItem" + form + "\n");
  return messages;
}
inline Lines BadFile(const std::string& why) { return {why, "2048 Dbg (SELLogFilter): SEL log file verify error!\n"}; }
inline Lines NoFile() {
  return BadFile("2048 Dbg (kestrune:CheckSELLogFile): File " + SeedCopy() + " doesn't exist!\n");
}

/// A test of a machine with a resource manager and a controller whose sensor 1A is the host sensor 2001 (hexadecimal).
class SELTest : public ModuleTest {
 protected:
  SELTest() {
    Host().PlugInController("1A;2001");
    machine::InstallResourceManager();
  }
};

#endif  // KESTRUNE_TESTS_SUPPORT_SEL_H_
