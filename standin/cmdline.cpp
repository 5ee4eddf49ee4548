/// cmdline.cpp: the command line of kestrune-host, and what to say of one that is wrong.
#include "standin/cmdline.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <vector>

#include "standin/failure.h"
#include "standin/logtime.h"
#include "standin/ownfile.h"

namespace standin {
namespace {

/// The module of the environment, else that which came with this program.
std::string DefaultModule() {
  const char* path = std::getenv("KESTRUNE_MODULE");
  if (path != nullptr && *path != '\0') return path;
  return OwnFile(KESTRUNE_INSTALLED_MODULE, KESTRUNE_BUILT_MODULE);
}

/// A whole number: decimal, or hexadecimal after 0x.
std::optional<uint64_t> ParseNumber(std::string_view text, uint64_t highest) {
  const bool hexadecimal = text.substr(0, 2) == "0x";
  if (hexadecimal) text.remove_prefix(2);
  uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
  if (error != std::errc() || stop != end || number > highest) return std::nullopt;
  return number;
}

Lines ParseLines(const std::string& text) {
  const size_t dash = text.find('-');
  const auto begin = ParseNumber(text.substr(0, dash), UINT32_MAX);
  const auto end = dash == std::string::npos ? std::nullopt : ParseNumber(text.substr(dash + 1), UINT32_MAX);
  if (!begin || !end || *begin == 0 || *begin > *end) {
    throw Failure(WRONG_ARGUMENTS,
                  "show: --lines: '" + text + "' is no range; allowed is A-B with 1 <= A <= B <= 4294967295");
  }
  return {static_cast<uint32_t>(*begin), static_cast<uint32_t>(*end)};
}

uint64_t ParseWord(const std::string& text) {
  const auto word = ParseNumber(text, UINT64_MAX);
  if (!word) {
    throw Failure(WRONG_ARGUMENTS, "settings: --set: '" + text +
                                       "' is no settings word; allowed is a number of up to 64 bits, decimal or "
                                       "hexadecimal after 0x");
  }
  return *word;
}

/// Text of the command line in wide characters, as values travel.
std::wstring Widen(const std::string& text) {
  const size_t length = std::mbstowcs(nullptr, text.c_str(), 0);
  if (length == static_cast<size_t>(-1)) {
    throw Failure(WRONG_ARGUMENTS, "write: TEXT: allowed is text in the character encoding of the locale alone");
  }
  std::wstring wide(length, L'\0');
  std::mbstowcs(wide.data(), text.c_str(), length);
  return wide;
}

/// Takes HOST[:PORT]; an IPv6 address with a port stands in brackets.
void ParseAddress(const std::string& text, IPMIOptions& ipmi) {
  const size_t colon = text.rfind(':');
  const bool isBare = colon != std::string::npos && text.find(':') != colon && text.front() != '[';
  const bool hasPort = colon != std::string::npos && !isBare && (text.front() != '[' || text[colon - 1] == ']');
  std::string host = hasPort ? text.substr(0, colon) : text;
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
  const auto port = hasPort ? ParseNumber(text.substr(colon + 1), UINT16_MAX) : IPMI_PORT;
  if (host.empty() || !port || *port == 0) {
    throw Failure(WRONG_ARGUMENTS, "--ipmi: '" + text + "' is no address; allowed is HOST or HOST:PORT");
  }
  ipmi.host = host;
  ipmi.port = static_cast<uint16_t>(*port);
}

/// Values that are taken from their texts once all of the line is known to fit.
struct Texts {
  std::string log;
  std::optional<std::string> lines;
  std::optional<std::string> since;
  std::optional<std::string> until;
  std::optional<std::string> sensorTypes;
  std::optional<std::string> severities;
  std::string text;
  std::optional<std::string> word;
  std::optional<std::string> ipmi;
  std::string privilege;
};

/// A time of the past. Of a day it is the first second, or the last where a range ends.
int64_t TakeTime(const char* option, const std::string& text, bool end) {
  const auto time = ParseTime(text, end, std::time(nullptr));
  if (!time) {
    throw Failure(WRONG_ARGUMENTS, std::string("show: ") + option + ": '" + text +
                                       "' is no time; allowed are 2026-08-18, 2026-08-18T10:56:35 (or with a zone: Z, "
                                       "+02:00), today, yesterday, and spans back from now: -90s, -30m, -2h, -3d, -1w");
  }
  return *time;
}

/// What `show` is to show.
View MakeView(const Options& options, const Texts& texts) {
  View view = options.view;
  if (texts.lines) view.lines = ParseLines(*texts.lines);
  if (texts.since) view.since = TakeTime("--since", *texts.since, false);
  if (texts.until) view.until = TakeTime("--until", *texts.until, true);
  if (texts.sensorTypes) view.sensorTypes = ParseSensorTypes(*texts.sensorTypes);
  if (texts.severities) view.severities = ParseSeverities(*texts.severities);
  if ((texts.sensorTypes || texts.severities) && options.log != LOG_SEL && options.log != LOG_ALL) {
    throw Failure(WRONG_ARGUMENTS, "show: --sensor-type and --severity are for the logs sel and all");
  }
  return view;
}

void AddControllerOptions(CLI::App& app, Options& options, Texts& texts) {
  CLI::Option* sel =
      app.add_option("--sel", options.sel, "A controller with this log: raw 16-byte records, oldest first")
          ->type_name("FILE");
  app.add_option("--sensors", options.sensors, "The machine's sensors: a JSON description")->type_name("FILE");
  CLI::Option* ipmi =
      app.add_option("--ipmi", texts.ipmi, "A controller in the network (else this machine's own, if it has one)")
          ->type_name("HOST[:PORT]")
          ->excludes(sel);
  app.add_option("--ipmi-user", options.ipmi.user, "Its user")->type_name("NAME");
  app.add_option("--ipmi-password-file", options.passwordFile,
                 "File with the password (else $IPMI_PASSWORD, else asked)")
      ->type_name("FILE");
  app.add_option("--ipmi-privilege", texts.privilege, "Privilege to ask for (user)")
      ->check(CLI::IsMember({"user", "operator", "administrator"}))
      ->type_name("NAME");
  app.add_option_function<int>(
         "--ipmi-timeout", [&options](int seconds) { options.ipmi.timeout = std::chrono::seconds(seconds); },
         "Seconds to wait for an answer (10)")
      ->check(CLI::Range(1, 3600))
      ->type_name("SECONDS");
  app.add_flag("--no-controller", options.noController, "No controller")->excludes(sel)->excludes(ipmi);
}

void AddGlobalOptions(CLI::App& app, Options& options) {
  app.set_version_flag("--version", "kestrune-host " KESTRUNE_VERSION);
  app.add_option("--module", options.module,
                 "Module to load (else $KESTRUNE_MODULE, else the one that came with this program)")
      ->type_name("PATH");
  app.add_option("--dist", options.distribution,
                 "Distribution code told to the module (103 and 106 differ from others)")
      ->check(CLI::Range(INT_MIN, INT_MAX))
      ->type_name("CODE");
  app.add_flag("--verbose", options.verbose, "Show the module's messages on standard error");
  app.add_option("--sel-log", options.selLog, "A SEL log file, laid at /etc/zarp/conf/ipmi.log: in private machines")
      ->type_name("FILE");
  app.require_subcommand(1);
  app.fallthrough();
}

void AddCommands(CLI::App& app, Options& options, Texts& texts) {
  std::vector<std::string> names(LOGS.size());
  std::transform(LOGS.begin(), LOGS.end(), names.begin(), [](const LogName& log) { return log.name; });
  names.emplace_back("all");
  const auto addFormat = [&](CLI::App* command) {
    command->add_option("--format", options.format, "Form of the output")
        ->check(CLI::IsMember({"table", "csv", "json", "jsonl"}))
        ->type_name("FORMAT");
  };

  addFormat(app.add_subcommand("logs", "List the machine's logs and their numbers of records"));

  CLI::App* show = app.add_subcommand("show", "Show the records of a log, or of all in one timeline, newest first");
  show->add_option("LOG", texts.log, "The log")->required()->check(CLI::IsMember(names))->type_name("");
  show->add_option("--lines", texts.lines, "Records A to B alone, counted from the newest")->type_name("A-B");
  show->add_option("--since", texts.since,
                   "Records from this time on alone: 2026-08-18, 2026-08-18T10:56, today, -2h, -3d")
      ->type_name("TIME");
  show->add_option("--until", texts.until, "Records up to this time alone")->type_name("TIME");
  show->add_option("--sensor-type", texts.sensorTypes, "Event log records of these sensor types alone: Memory, 0x0C")
      ->type_name("TYPE[,TYPE...]");
  show->add_option("--severity", texts.severities, "Event log records of these severities alone: critical, failure")
      ->type_name("NAME[,NAME...]");
  show->add_flag("--reverse", options.view.isReversed, "Oldest first");
  show->add_option("--columns", options.columns, "Fields to show")->type_name("NAME[,NAME...]");
  addFormat(show);

  CLI::App* write = app.add_subcommand("write", "Write a message to the system log");
  write->add_option("--level", options.level, "0 plain, 1 note, 2 warning, 3 critical")
      ->required()
      ->check(CLI::Range(0, 3))
      ->type_name("N");
  write->add_option("TEXT", texts.text, "The message")->required()->type_name("");

  CLI::App* settings = app.add_subcommand("settings", "Show the settings word, changed or as it is");
  settings->add_option("--set", texts.word, "New word of 64 bits, decimal or after 0x")->type_name("WORD");
  addFormat(settings);

  app.add_subcommand("dump-sel", "Have the module dump the controller's log");

  CLI::App* save = app.add_subcommand("save", "Save the controller's log and sensors, to be looked at elsewhere");
  save->add_option("--sel", options.savedSel, "New file for the log: raw records, oldest first")->type_name("FILE");
  save->add_option("--sensors", options.savedSensors, "New file for the sensors: a JSON description")
      ->type_name("FILE");
  save->add_flag("--force", options.force, "Overwrite files that are there");

  CLI::App* pack = app.add_subcommand("pack-sel", "Write a SEL log file from raw records");
  pack->add_option("RAW", options.raw, "Raw 16-byte records, oldest first")->required()->type_name("");
  pack->add_option("OUT", options.packed, "The SEL log file")->required()->type_name("");

  for (CLI::App* command : app.get_subcommands({})) command->footer("Global options: see kestrune-host --help");
}

std::string OptionNames(const CLI::App& app) {
  std::string names;
  for (const CLI::Option* option : app.get_options()) names += ' ' + option->get_name();
  return names;
}

/// One line for a command line that does not parse: what was wrong, and what is allowed.
std::string Explain(const CLI::ParseError& error, CLI::App& app) {
  const auto given = app.get_subcommands();
  std::string place;
  std::string allowed;
  if (given.empty()) {
    for (const CLI::App* command : app.get_subcommands({})) allowed += ' ' + command->get_name();
    allowed = " one of" + allowed + ", and";
  } else {
    place = given.front()->get_name() + ": ";
    allowed = OptionNames(*given.front()) + ", and everywhere";
  }
  allowed = "; allowed are" + allowed + OptionNames(app);
  const auto unexpected = app.remaining(true);
  if (!unexpected.empty()) return place + "'" + unexpected.front() + "' was not expected" + allowed;
  // Where a value is wrong, the text of the error says what would be right.
  return place + error.what() + (dynamic_cast<const CLI::ValidationError*>(&error) != nullptr ? "" : allowed);
}

}  // namespace

Options ParseCommandLine(int argc, char** argv) {
  CLI::App app("Loads a kestrune module as a host does and shows what it delivers.", "kestrune-host");
  Options options;
  options.module = DefaultModule();
  Texts texts;
  AddGlobalOptions(app, options);
  AddControllerOptions(app, options, texts);
  AddCommands(app, options, texts);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForVersion& call) {
    options.answer = std::string(call.what()) + '\n';
    return options;
  } catch (const CLI::CallForHelp&) {
    options.answer = app.help();
    return options;
  } catch (const CLI::ParseError& error) {
    throw Failure(WRONG_ARGUMENTS, Explain(error, app));
  }

  options.command = app.get_subcommands().front()->get_name();
  for (const LogName& log : LOGS) {
    if (texts.log == log.name) options.log = log.id;
  }
  if (options.command == "show") options.view = MakeView(options, texts);
  if (texts.word) options.word = ParseWord(*texts.word);
  if (texts.ipmi) ParseAddress(*texts.ipmi, options.ipmi);
  if (texts.privilege == "operator") options.ipmi.privilege = IPMIPrivilege::OPERATOR;
  if (texts.privilege == "administrator") options.ipmi.privilege = IPMIPrivilege::ADMINISTRATOR;
  if (options.command == "save" && !options.savedSel && !options.savedSensors) {
    throw Failure(WRONG_ARGUMENTS,
                  "save: names nothing to save; allowed are --sel FILE and --sensors FILE, or one of them");
  }
  options.text = Widen(texts.text);
  return options;
}

}  // namespace standin
