/// cmderror.cpp: what to say of a command line that is wrong.
#include "standin/cmderror.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <numeric>
#include <vector>

#include "standin/requests.h"

namespace standin {
namespace {

using Words = std::vector<std::string>;

/// How many letters have to be put in, taken out or changed.
size_t Distance(const std::string& one, const std::string& other) {
  std::vector<size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (const char letter : one) {
    size_t diagonal = row[0]++;
    for (size_t j = 0; j < other.size(); ++j) {
      const size_t changed = diagonal + (letter == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

/// Asks whether the nearest of the words was meant, if one is near.
std::string DidYouMean(const std::string& word, const Words& words) {
  const auto nearest = std::ranges::min_element(words, {}, [&](const auto& each) { return Distance(word, each); });
  const bool isNear = nearest != words.end() && Distance(word, *nearest) <= std::max<size_t>(2, word.size() / 2);
  return isNear ? "; did you mean '" + *nearest + "'?" : "";
}

std::string Join(const Words& words) {
  std::string line;
  for (const std::string& word : words) line += (line.empty() ? "" : ", ") + word;
  return line;
}

bool HasOption(const CLI::App& command, const std::string& option) {
  return command.get_option_no_throw(option) != nullptr;
}

void AddOptions(const CLI::App& app, Words& words) {
  for (const CLI::Option* option : app.get_options()) words.push_back(option->get_name());
}

/// An option that is known nowhere, or belongs elsewhere.
std::string ExplainOption(const std::string& option, const CLI::App& app, const CLI::App* given) {
  if (given != nullptr && HasOption(*given, option)) {
    return "'" + option + "' stands after its sub-command: kestrune-host " + given->get_name() + " ... " + option;
  }
  Words takers;
  for (const CLI::App* command : app.get_subcommands({})) {
    if (HasOption(*command, option)) takers.push_back(command->get_name());
  }
  if (!takers.empty()) return "'" + option + "' is an option of " + Join(takers) + " alone";
  Words known;
  AddOptions(app, known);
  if (given != nullptr) AddOptions(*given, known);
  return "there is no option '" + option + "'" + DidYouMean(option, known);
}

std::string ExplainCommand(const std::string& word, const CLI::App& app) {
  for (const LogName& log : LOGS) {
    if (word != log.name) continue;
    return std::string("there is no sub-command '")
        .append(word)
        .append("'; did you mean 'show ")
        .append(word)
        .append("'?");
  }
  Words commands;
  for (const CLI::App* command : app.get_subcommands({})) commands.push_back(command->get_name());
  const std::string meant = DidYouMean(word, commands);
  return "there is no sub-command '" + word + "'" + (meant.empty() ? "; there are " + Join(commands) : meant);
}

}  // namespace

std::string Explain(const CLI::ParseError& error, CLI::App& app) {
  const auto commands = app.get_subcommands();
  const CLI::App* given = commands.empty() ? nullptr : commands.front();
  const std::string place = given == nullptr ? "" : given->get_name() + ": ";
  const auto addHelp = [&](const std::string& line) {
    return line + (line.back() == '?' ? " See" : "; see") + " kestrune-host " +
           (given == nullptr ? "" : given->get_name() + " ") + "--help";
  };
  const auto unexpected = app.remaining(true);
  if (!unexpected.empty()) {
    const std::string word = unexpected.front().substr(0, unexpected.front().find('='));
    if (word.size() > 1 && word.front() == '-') return addHelp(place + ExplainOption(word, app, given));
    if (given == nullptr) return addHelp(ExplainCommand(word, app));
    return addHelp(place + "'" + unexpected.front() + "' was not expected");
  }
  // Where a value is wrong, the text of the error says what would be right.
  const std::string line = place + error.what();
  return dynamic_cast<const CLI::ValidationError*>(&error) != nullptr ? line : addHelp(line);
}

}  // namespace standin
