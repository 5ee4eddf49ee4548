/// commands.cpp: one function for each sub-command, and the table in which it is found.
#include "standin/commands.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "standin/capture.h"
#include "standin/controllers.h"
#include "standin/failure.h"
#include "standin/follow.h"
#include "standin/journalfollow.h"
#include "standin/requests.h"
#include "standin/selfile.h"
#include "standin/session.h"
#include "standin/table.h"
#include "standin/terminal.h"

namespace standin {
namespace {

/// Ends the session and shows what came of it. The module is stopped before: a reader may take its time.
void StopAndShow(Session& session, const Table& table, const std::string& format) {
  session.Stop();
  Show(table, format);
  session.RequireAnswers();
}

void RunLogs(const Options& options) {
  Session session(options);
  StopAndShow(session, ListLogs(session.GetModule()), options.format);
}

void RunShow(const Options& options) {
  Session session(options);
  if (options.log != LOG_ALL && !OffersLog(session.GetModule(), options.log)) {
    std::fputs("note: the module does not offer that log here\n", stderr);
  }
  Table table = ReadView(session.GetModule(), options.log, options.view, session.GetKeeper());
  if (options.columns) ChooseColumns(table, *options.columns);
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
  WriteMessage(session.GetModule(), options.level, options.text);
  session.RequireAnswers();
}

void RunSettings(const Options& options) {
  Session session(options);
  if (options.word) WriteSettings(session.GetModule(), *options.word);
  StopAndShow(session, ReadSettings(session.GetModule()), options.format);
}

void RunDumpSel(const Options& options) {
  Session session(options);
  session.LetModulePrint(session.GetModule().ShowBMCSELLogDebug);
  session.RequireAnswers();
}

void RunSave(const Options& options) {
  const std::unique_ptr<Controller> controller = MakeController(options);
  if (!controller->IsPresent()) throw Failure(REQUEST_FAILED, "there is no controller here whose log could be saved");
  SaveCapture(*controller, options.savedSel, options.savedSensors, options.force, ShowProgress());
}

void RunPackSel(const Options& options) { PackSelLog(options.raw, options.packed); }

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
