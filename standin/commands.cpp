/// commands.cpp: one function for each sub-command, and the table in which it is found.
#include "standin/commands.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cwchar>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "standin/capture.h"
#include "standin/controllers.h"
#include "standin/diagnosis.h"
#include "standin/failure.h"
#include "standin/requests.h"
#include "standin/selfile.h"
#include "standin/session.h"
#include "standin/signals.h"
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

void ShowNotes(const std::vector<std::string>& notes) {
  for (const std::string& note : notes) std::fprintf(stderr, "note: %s\n", note.c_str());
}

/// Adds the logs that the module does not offer, and a column that says why, or what else there is to know of a log.
void AddNotes(const Module& module, Table& table) {
  std::vector<std::vector<std::wstring>> rows;
  auto offered = table.rows.begin();
  for (const LogName& log : LOGS) {
    const std::string name = log.name;
    std::array<wchar_t, 8> id{};
    std::swprintf(id.data(), id.size(), L"0x%02X", static_cast<unsigned>(log.id));
    const bool isOffered = OffersLog(module, log.id);
    const std::string note = !isOffered || !FindObstacles(log.id).empty() ? WhyMissing(log.id) : "";
    rows.push_back(isOffered ? *offered++ : std::vector<std::wstring>{{name.begin(), name.end()}, id.data(), L"0"});
    rows.back().emplace_back(note.begin(), note.end());
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
  Show(session, table, options.format);
}

void RunShow(const Options& options) {
  Session session(options);
  const Module& module = session.GetModule();
  if (!OffersLog(module, options.log)) {
    throw Failure(REQUEST_FAILED, "this log is not offered: " + WhyMissing(options.log));
  }
  const Table table = ReadLog(module, options.log, options.lines);
  ShowNotes(FindObstacles(options.log));
  Show(session, table, options.format);
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
  Show(session, ReadSettings(session.GetModule()), options.format);
}

void RunDumpSel(const Options& options) {
  Session session(options);
  if (!session.GetController().IsPresent()) {
    throw Failure(REQUEST_FAILED, "dump-sel: " + WhyMissing(LOG_SEL));
  }
  session.LetModulePrint(session.GetModule().ShowBMCSELLogDebug);
  session.Stop();
  session.RequireAnswers();
}

void RunSave(const Options& options) {
  const std::unique_ptr<Controller> controller = MakeController(options);
  if (!controller->IsPresent()) throw Failure(REQUEST_FAILED, "there is no controller here whose log could be saved");
  const Undisturbed undisturbed;
  const Progress show = ShowProgress();
  SaveCapture(*controller, options.savedSel, options.savedSensors, options.force, [&](size_t read, size_t of) {
    ThrowIfInterrupted();
    if (show) show(read, of);
  });
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
