/// cmdline.h: the command line of kestrune-host.
#ifndef KESTRUNE_STANDIN_CMDLINE_H_
#define KESTRUNE_STANDIN_CMDLINE_H_

#include <cstdint>
#include <optional>
#include <string>

#include "standin/follow/follow.h"
#include "standin/follow/journalfollow.h"
#include "standin/ipmi/ipmioptions.h"
#include "standin/timeline.h"

namespace standin {

/// What the command line says.
struct Options {
  std::string answer;  ///< help or version to print; if there is one, nothing else is to be done
  std::string command;

  std::string module;
  bool verbose = false;
  std::optional<std::string> trace;
  int distribution = 0;
  std::optional<std::string> sel;
  std::optional<std::string> sensors;
  std::optional<std::string> selLog;
  bool noController = false;
  IPMIOptions ipmi;  ///< without the password
  std::optional<std::string> passwordFile;

  std::string format = "table";             ///< table, csv, json or jsonl
  bool all = false;                         ///< logs
  uint16_t log = LOG_ALL;                   ///< show
  std::optional<Lines> lines;               ///< show
  View view;                                ///< show
  std::vector<std::string> columns;         ///< show; those of the log when there is none
  FollowOptions follow;                     ///< follow
  std::optional<JournalOptions> journal;    ///< follow, to the journal
  uint32_t level = 0;                       ///< write
  std::wstring text;                        ///< write
  std::optional<uint64_t> word;             ///< settings
  std::string raw;                          ///< pack-sel
  std::string packed;                       ///< pack-sel
  std::optional<std::string> savedSel;      ///< save
  std::optional<std::string> savedSensors;  ///< save
  bool force = false;                       ///< save, pack-sel
};

/// Throws Failure (wrong arguments) with what was wrong and what is allowed.
Options ParseCommandLine(int argc, char** argv);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_CMDLINE_H_
