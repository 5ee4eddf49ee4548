/// commands.cpp: one function for each sub-command, and the table in which it is found.
#include "standin/commands.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "standin/controllers.h"
#include "standin/diagnosis.h"
#include "standin/failure.h"
#include "standin/follow/follow.h"
#include "standin/follow/journalfollow.h"
#include "standin/host/capture.h"
#include "standin/host/selfile.h"
#include "standin/output/table.h"
#include "standin/output/terminal.h"
#include "standin/requests.h"
#include "standin/session.h"
#include "standin/signals.h"

namespace standin {
namespace {

/// Ends the session and shows what came of it. The module is stopped before: a reader may take its time.
void StopAndShow(Session& session, const Table& table, const std::string& format) {
  session.Stop();
  Show(table, format);
  session.RequireAnswers();
}

void ShowNotes(const std::vector<std::string>& notes) {
  for (const std::string& note : notes) std::fprintf(stderr, "note: %s\n", note.c_str());
}

/// Adds the logs that the module does not offer, and a column that says why, or what else there is to know of a log.
void AddNotes(const Module& module, Table& table) {
  std::vector<Row> rows;
  auto offered = table.rows.begin();
  for (const LogName& log : LOGS) {
    const bool isOffered = OffersLog(module, log.id);
    rows.push_back(isOffered ? *offered++ : DescribeLog(log, 0));
    rows.back().fields["note"] = !isOffered || !FindObstacles(log.id).empty() ? WhyMissing(log.id) : "";
  }
  table.columns.push_back({"note"});
  table.rows = std::move(rows);
}

void RunLogs(const Options& options) {
  Session session(options);
  const Module& module = session.GetModule();
  Table table = ListLogs(module);
  if (options.all) AddNotes(module, table);
  if (table.rows.empty()) {
    for (const LogName& log : LOGS) ShowNotes({log.name + std::string(": ") + WhyMissing(log.id)});
  }
  StopAndShow(session, table, options.format);
}

void RunShow(const Options& options) {
  Session session(options);
  const Module& module = session.GetModule();
  std::vector<std::string> notes;
  bool isOffered = false;
  for (const LogName& log : LOGS) {
    if (options.log != LOG_ALL && options.log != log.id) continue;
    if (OffersLog(module, log.id)) {
      isOffered = true;
      for (std::string& note : FindObstacles(log.id)) notes.push_back(std::move(note));
    } else if (options.log != LOG_ALL) {
      throw Failure(REQUEST_FAILED, "this log is not offered: " + WhyMissing(log.id));
    }
  }
  if (!isOffered) throw Failure(REQUEST_FAILED, "no log is offered; kestrune-host logs --all tells why");
  Table table = ReadView(module, options.log, options.lines, options.view, session.GetKeeper());
  if (!options.columns.empty()) ChooseColumns(table, options.columns);
  ShowNotes(notes);
  StopAndShow(session, table, options.format);
}

void RunFollow(const Options& options) {
  Session session(options);
  if (options.journal) {
    FollowToJournal(*options.journal, session);
  } else {
    Follow(options.follow, session);
  }
}

void RunWrite(const Options& options) {
  Session session(options);
  RequireLogDaemon();
  WriteMessage(session.GetModule(), options.level, options.text);
  session.Stop();
  session.RequireAnswers();
}

void RunSettings(const Options& options) {
  Session session(options);
  if (options.word) WriteSettings(session.GetModule(), *options.word);
  StopAndShow(session, ReadSettings(session.GetModule()), options.format);
}

void RunDumpSel(const Options& options) {
  Session session(options);
  if (!session.GetController().IsPresent()) {
    throw Failure(REQUEST_FAILED, "dump-sel: " + WhyMissing(LOG_SEL));
  }
  session.LetModulePrint([&] { DumpControllerLog(session.GetModule()); });
  session.Stop();
  session.RequireAnswers();
}

void RunSave(const Options& options) {
  const std::unique_ptr<Controller> controller = MakeController(options);
  if (!controller->IsPresent()) throw Failure(REQUEST_FAILED, "save: " + WhyMissing(LOG_SEL));
  const Undisturbed undisturbed;
  const Progress show = ShowProgress();
  SaveCapture(*controller, options.savedSel, options.savedSensors, options.force, [&](size_t read, size_t of) {
    ThrowIfInterrupted();
    if (show) show(read, of);
  });
}

void RunPackSel(const Options& options) { PackSelLog(options.raw, options.packed, options.force); }

struct Command {
  const char* name;
  void (*run)(const Options& options);
};

constexpr Command COMMANDS[] = {
    {"logs", RunLogs},         {"show", RunShow},        {"follow", RunFollow}, {"write", RunWrite},
    {"settings", RunSettings}, {"dump-sel", RunDumpSel}, {"save", RunSave},     {"pack-sel", RunPackSel},
};

}  // namespace

void RunCommand(const Options& options) {
  if (!options.answer.empty()) return Print(options.answer);
  std::find_if(std::begin(COMMANDS), std::end(COMMANDS), [&](const Command& command) {
    return options.command == command.name;
  })->run(options);
}

}  // namespace standin
