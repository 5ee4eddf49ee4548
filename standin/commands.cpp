/// commands.cpp: one function for each sub-command, and the table in which it is found.
#include "standin/commands.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "standin/capture.h"
#include "standin/controllers.h"
#include "standin/failure.h"
#include "standin/requests.h"
#include "standin/selfile.h"
#include "standin/session.h"
#include "standin/table.h"

namespace standin {
namespace {

/// Ends the session and shows what came of it. The module is stopped before: a reader may take its time.
void Show(Session& session, const Table& table, const std::string& format) {
  session.Stop();
  if (format == "json") {
    Print(RenderJson(table));
  } else if (format == "csv") {
    Print(RenderCsv(table));
  } else {
    Print(RenderTable(table, TerminalWidth()));
  }
  session.RequireAnswers();
}

void RunLogs(const Options& options) {
  Session session(options);
  Show(session, ListLogs(session.GetModule()), options.format);
}

void RunShow(const Options& options) {
  Session session(options);
  if (!OffersLog(session.GetModule(), options.log)) {
    std::fputs("note: the module does not offer that log here\n", stderr);
  }
  Show(session, ReadLog(session.GetModule(), options.log, options.lines), options.format);
}

void RunWrite(const Options& options) {
  Session session(options);
  WriteMessage(session.GetModule(), options.level, options.text);
  session.RequireAnswers();
}

void RunSettings(const Options& options) {
  Session session(options);
  if (options.word) WriteSettings(session.GetModule(), *options.word);
  Show(session, ReadSettings(session.GetModule()), options.format);
}

void RunDumpSel(const Options& options) {
  Session session(options);
  session.LetModulePrint([&] { DumpControllerLog(session.GetModule()); });
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
    {"logs", RunLogs},        {"show", RunShow}, {"write", RunWrite},      {"settings", RunSettings},
    {"dump-sel", RunDumpSel}, {"save", RunSave}, {"pack-sel", RunPackSel},
};

}  // namespace

void RunCommand(const Options& options) {
  if (!options.answer.empty()) return Print(options.answer);
  std::find_if(std::begin(COMMANDS), std::end(COMMANDS), [&](const Command& command) {
    return options.command == command.name;
  })->run(options);
}

}  // namespace standin
