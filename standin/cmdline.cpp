/// cmdline.cpp: the command line of kestrune-host.
#include "standin/cmdline.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <vector>

#include "standin/cmderror.h"
#include "standin/cmdvalues.h"
#include "standin/failure.h"
#include "standin/files.h"
#include "standin/ownfile.h"

namespace standin {
namespace {

/// The module of the environment, else that which came with this program.
std::string DefaultModule() {
  const char* path = std::getenv("KESTRUNE_MODULE");
  if (path != nullptr && *path != '\0') return path;
  return OwnFile(KESTRUNE_INSTALLED_MODULE, KESTRUNE_BUILT_MODULE);
}

/// Allows these values. Unlike the library's own checks, they leave the help as it is.
CLI::Validator Within(int64_t lowest, int64_t highest) { return CLI::Range(lowest, highest).description(""); }
CLI::Validator OneOf(const std::vector<std::string>& names) { return CLI::IsMember(names).description(""); }

/// Help in which the name of an option's value is all that stands beside the option.
class PlainHelp : public CLI::Formatter {
  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_type_name().empty() ? "" : ' ' + option->get_type_name();
  }
};

/// Values that are taken from their texts once all of the line is known to fit.
struct Texts {
  std::string log;
  std::optional<std::string> lines;
  std::optional<std::string> since;
  std::optional<std::string> until;
  std::optional<std::string> sensorTypes;
  std::optional<std::string> severities;
  std::optional<std::string> columns;
  std::string text;
  std::optional<std::string> word;
  std::optional<std::string> ipmi;
  std::string privilege;
  std::vector<std::string> followed;
  std::optional<int> interval;
  std::optional<std::string> target;
  std::optional<std::string> state;
  std::optional<std::string> from;
};

void AddControllerOptions(CLI::App& app, Options& options, Texts& texts) {
  CLI::Option* sel = app.add_option("--sel", options.sel,
                                    "A controller with this log: raw 16-byte records, oldest first (-: standard input)")
                         ->type_name("FILE");
  app.add_option("--sensors", options.sensors, "The machine's sensors: a JSON description (-: standard input)")
      ->type_name("FILE");
  CLI::Option* ipmi =
      app.add_option("--ipmi", texts.ipmi, "A controller in the network (else this machine's own, if it has one)")
          ->type_name("HOST[:PORT]")
          ->excludes(sel);
  app.add_option("--ipmi-user", options.ipmi.user, "Its user")->type_name("NAME")->needs(ipmi);
  app.add_option("--ipmi-password-file", options.passwordFile,
                 "File with the password (else $IPMI_PASSWORD, else asked)")
      ->type_name("FILE")
      ->needs(ipmi);
  app.add_flag("--ipmi-fallback", options.ipmi.allowIPMI15,
               "Log in by IPMI 1.5 where it does not know RMCP+ (IPMI 2.0)")
      ->needs(ipmi);
  app.add_option("--ipmi-privilege", texts.privilege,
                 "Privilege to ask for: user, operator, administrator (default: user)")
      ->check(OneOf({"user", "operator", "administrator"}))
      ->type_name("NAME")
      ->needs(ipmi);
  app.add_option_function<int>(
         "--ipmi-timeout", [&options](int seconds) { options.ipmi.timeout = std::chrono::seconds(seconds); },
         "Seconds to wait for an answer (default: 10)")
      ->check(Within(1, 3600))
      ->type_name("SECONDS");
  app.add_flag("--no-controller", options.noController, "No controller")->excludes(sel)->excludes(ipmi);
}

void AddGlobalOptions(CLI::App& app, Options& options) {
  app.set_version_flag("--version", "kestrune-host " KESTRUNE_VERSION);
  app.add_option("--module", options.module,
                 "Module to load (else $KESTRUNE_MODULE, else the one that came with this program)")
      ->type_name("PATH");
  app.add_option("--dist", options.distribution,
                 "Distribution code told to the module: 103 and 106 have other application logs (default: 0)")
      ->check(Within(INT_MIN, INT_MAX))
      ->type_name("CODE");
  app.add_flag("--verbose", options.verbose, "Show all of the module's messages, not errors and warnings alone");
  app.add_option("--trace", options.trace, "Write each call of the module as a line of JSON")->type_name("FILE");
  app.add_option("--sel-log", options.selLog,
                 "A SEL log file, laid at /etc/zarp/conf/ipmi.log meanwhile, where there is none")
      ->type_name("FILE");
  app.require_subcommand(1);
  app.fallthrough();
}

void AddFormat(CLI::App& command, Options& options) {
  command.add_option("--format", options.format, "Form of the output: table, csv, json, jsonl (default: table)")
      ->check(OneOf({"table", "csv", "json", "jsonl"}))
      ->type_name("FORMAT");
}

std::vector<std::string> LogNames() {
  std::vector<std::string> names(LOGS.size());
  std::transform(LOGS.begin(), LOGS.end(), names.begin(), [](const LogName& log) { return log.name; });
  names.emplace_back("all");
  return names;
}

void AddForce(CLI::App& command, Options& options) {
  command.add_flag("--force", options.force, "Overwrite files that are there");
}

CLI::Option* AddNewest(CLI::App& command, Options& options) {
  const auto take = [&options](uint32_t count) { options.lines = Lines{1, count}; };
  return command.add_option_function<uint32_t>("-n", take, "The newest N alone")
      ->check(Within(1, UINT32_MAX))
      ->type_name("N");
}

// Each adds a sub-command with its options.

void AddLogs(CLI::App& app, Options& options, Texts&) {
  CLI::App& logs = *app.add_subcommand("logs", "List the machine's logs and their numbers of records");
  logs.add_flag("--all", options.all, "Also the logs that are not offered, with the reasons");
  AddFormat(logs, options);
}

void AddShow(CLI::App& app, Options& options, Texts& texts) {
  CLI::App& show = *app.add_subcommand("show", "Show the records of a log, or of all in one timeline, newest first");
  show.add_option("LOG", texts.log, "The log: application, secure, messages, agent, sel, or all of them")
      ->required()
      ->check(OneOf(LogNames()))
      ->type_name("");
  CLI::Option* lines = show.add_option("--lines", texts.lines,
                                       "Records A to B alone, from the newest (A-: from A on; -B or B: the newest B)")
                           ->type_name("A-B");
  AddNewest(show, options)->excludes(lines);
  show.add_option("--since", texts.since, "Records from then on alone: 2026-08-18, 2026-08-18T10:56, today, -2h, -3d")
      ->type_name("TIME");
  show.add_option("--until", texts.until, "Records until then alone")->type_name("TIME");
  show.add_option("--sensor-type", texts.sensorTypes, "Event log records of these types alone: memory, 0x0C")
      ->type_name("TYPE[,TYPE...]");
  show.add_option("--severity", texts.severities, "Event log records of these severities alone: critical, failure")
      ->type_name("NAME[,NAME...]");
  show.add_flag("--reverse", options.view.isReversed, "Oldest first");
  show.add_option("--columns", texts.columns, "Fields to show")->type_name("NAME[,NAME...]");
  AddFormat(show, options);
}

void AddFollow(CLI::App& app, Options& options, Texts& texts) {
  CLI::App& follow = *app.add_subcommand("follow", "Show new records of logs as they come, until a signal ends it");
  follow.add_option("LOG", texts.followed, "The logs, or all")->required()->check(OneOf(LogNames()))->type_name("");
  follow.add_option("-n", options.follow.newest, "First the newest N records of each (0)")
      ->check(Within(0, UINT32_MAX))
      ->type_name("N");
  follow.add_option("--interval", texts.interval, "Seconds between two looks (5, to the journal 10)")
      ->check(Within(1, 86'400))
      ->type_name("SECONDS");
  follow.add_option("--format", options.follow.format, "Form of the output (table)")
      ->check(OneOf({"table", "csv", "jsonl"}))
      ->type_name("FORMAT");
  follow.add_option("--columns", texts.columns, "Fields to show")->type_name("NAME[,NAME...]");
  follow.add_option("--to", texts.target, "Where the records go: to the system's journal, those of the log sel alone")
      ->check(OneOf({"journal"}))
      ->type_name("journal");
  follow.add_option("--state", texts.state, "File that keeps how far the journal is (" + JournalOptions().state + ")")
      ->type_name("FILE");
  follow.add_option("--from", texts.from, "Without such a file yet: do not send what the log holds already")
      ->check(OneOf({"now"}))
      ->type_name("now");
}

void AddWrite(CLI::App& app, Options& options, Texts& texts) {
  CLI::App& write = *app.add_subcommand("write", "Write a message to the system log");
  write.add_option("--level", options.level, "0 plain, 1 note, 2 warning, 3 critical")
      ->required()
      ->check(Within(0, 3))
      ->type_name("N");
  write.add_option("TEXT", texts.text, "The message")->required()->type_name("");
}

void AddSettings(CLI::App& app, Options& options, Texts& texts) {
  CLI::App& settings = *app.add_subcommand("settings", "Show the settings word, changed or as it is");
  settings.add_option("--set", texts.word, "New word of 64 bits, decimal or after 0x")->type_name("WORD");
  AddFormat(settings, options);
}

void AddDumpSel(CLI::App& app, Options&, Texts&) {
  app.add_subcommand("dump-sel", "Have the module dump the controller's log");
}

void AddSave(CLI::App& app, Options& options, Texts&) {
  CLI::App& save = *app.add_subcommand("save", "Save the controller's log and sensors, to be looked at elsewhere");
  save.add_option("--sel", options.savedSel, "New file for the log: raw records, oldest first")->type_name("FILE");
  save.add_option("--sensors", options.savedSensors, "New file for the sensors: a JSON description")->type_name("FILE");
  AddForce(save, options);
}

void AddPackSel(CLI::App& app, Options& options, Texts&) {
  CLI::App& pack = *app.add_subcommand("pack-sel", "Write a SEL log file from raw records");
  pack.add_option("RAW", options.raw, "Raw 16-byte records, oldest first")->required()->type_name("");
  pack.add_option("OUT", options.packed, "The SEL log file, a new one")->required()->type_name("");
  AddForce(pack, options);
}

void AddCommands(CLI::App& app, Options& options, Texts& texts) {
  for (const auto add : {AddLogs, AddShow, AddFollow, AddWrite, AddSettings, AddDumpSel, AddSave, AddPackSel}) {
    add(app, options, texts);
  }
  for (CLI::App* command : app.get_subcommands({})) command->footer("Global options: see kestrune-host --help");
}

void TakeView(const Texts& texts, const Options& options, View& view) {
  if (texts.since) view.since = ParseTime("--since", *texts.since, false);
  if (texts.until) view.until = ParseTime("--until", *texts.until, true);
  if (texts.sensorTypes) view.sensorTypes = ParseSensorTypes(*texts.sensorTypes);
  if (texts.severities) view.severities = ParseSeverities(*texts.severities);
  if (view.since && view.until && *view.since > *view.until) {
    throw Failure(WRONG_ARGUMENTS, "show: --since is later than --until");
  }
  if ((texts.sensorTypes || texts.severities) && options.log != LOG_SEL && options.log != LOG_ALL) {
    throw Failure(WRONG_ARGUMENTS, "show: --sensor-type and --severity are for the logs sel and all");
  }
}

/// What `follow` is to follow, and where the records go.
void TakeFollow(const Texts& texts, Options& options) {
  const auto isNamed = [&](const std::string& log) {
    return std::find(texts.followed.begin(), texts.followed.end(), log) != texts.followed.end();
  };
  for (const LogName& log : LOGS) {
    if (isNamed(log.name) && !isNamed("all")) options.follow.logs.push_back(log.id);
  }
  if (texts.interval) options.follow.interval = std::chrono::seconds(*texts.interval);
  if (!texts.target) {
    if (texts.state || texts.from) throw Failure(WRONG_ARGUMENTS, "follow: --state and --from go with --to journal");
    return;
  }
  if (options.follow.logs != std::vector<uint16_t>{LOG_SEL}) {
    throw Failure(WRONG_ARGUMENTS, "follow: --to journal takes the log sel alone");
  }
  JournalOptions& journal = options.journal.emplace();
  if (texts.state) journal.state = *texts.state;
  journal.fromNow = texts.from.has_value();
  if (texts.interval) journal.interval = std::chrono::seconds(*texts.interval);
}

void TakeValues(const Texts& texts, Options& options) {
  for (const LogName& log : LOGS) {
    if (texts.log == log.name) options.log = log.id;
  }
  if (texts.lines) options.lines = ParseLines(*texts.lines);
  TakeView(texts, options, options.view);
  if (texts.columns) options.columns = SplitList(*texts.columns);
  options.follow.columns = options.columns;
  TakeFollow(texts, options);
  if (texts.word) options.word = ParseWord(*texts.word);
  if (texts.ipmi) ParseAddress(*texts.ipmi, options.ipmi);
  if (texts.privilege == "operator") options.ipmi.privilege = IPMIPrivilege::OPERATOR;
  if (texts.privilege == "administrator") options.ipmi.privilege = IPMIPrivilege::ADMINISTRATOR;
  if (options.sel == STANDARD_INPUT && options.sensors == STANDARD_INPUT) {
    throw Failure(WRONG_ARGUMENTS, "--sel and --sensors cannot both be standard input, which is read once");
  }
  if (options.command == "save" && !options.savedSel && !options.savedSensors) {
    throw Failure(WRONG_ARGUMENTS,
                  "save: names nothing to save; allowed are --sel FILE and --sensors FILE, or one of them");
  }
  options.text = Widen(texts.text);
}

}  // namespace

Options ParseCommandLine(int argc, char** argv) {
  CLI::App app("Loads a kestrune module as a host does and shows what it delivers.", "kestrune-host");
  Options options;
  options.module = DefaultModule();
  Texts texts;
  app.formatter(std::make_shared<PlainHelp>());
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
  TakeValues(texts, options);
  return options;
}

}  // namespace standin
