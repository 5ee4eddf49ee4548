/// cmderror.cpp: what to say of a command line that is wrong.
#include "standin/cmderror.h"

#include <CLI/CLI.hpp>

namespace standin {
namespace {

std::string OptionNames(const CLI::App& app) {
  std::string names;
  for (const CLI::Option* option : app.get_options()) names += ' ' + option->get_name();
  return names;
}

}  // namespace

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

}  // namespace standin
