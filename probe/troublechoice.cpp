#include "probe/troublechoice.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace probe {
namespace {

struct TroubleName {
  const char* name;
  Trouble trouble;
  uint32_t number;  ///< where none is given
  bool isOnce;      ///< comes every other time, so that a host which asks again gets its answer
};

constexpr std::array<TroubleName, 11> NAMES{{{"grow", Trouble::GROW, 5, true},
                                             {"shrink", Trouble::SHRINK, 5, true},
                                             {"refuse", Trouble::REFUSE, 0, true},
                                             {"records", Trouble::RECORDS, 30'000, false},
                                             {"empty-catalogue", Trouble::EMPTY_CATALOGUE, 0, false},
                                             {"no-entries", Trouble::NO_ENTRIES, 0, false},
                                             {"error-value", Trouble::ERROR_VALUE, 0, false},
                                             {"no-memory", Trouble::NO_MEMORY, 0, false},
                                             {"text", Trouble::TEXT, 0, false},
                                             {"late", Trouble::LATE, 8'000, false},
                                             {"gone", Trouble::GONE, 0, false}}};
constexpr std::array<uint32_t, 3> SEEDED_RECORDS{0, 1, 30'000};

/// What was asked for: one trouble, or a seed to draw from.
Choice asked;
bool isOnce = false;
std::optional<uint64_t> seed;

/// What a list gets until it has been fetched.
struct Turn {
  Choice choice;
  bool isCounted = false;
  uint32_t number = 0;  ///< how many turns there were
};
using List = std::pair<Kind, uint64_t>;
std::mutex mutex;
std::map<List, Turn> turns;  // guarded by the mutex

void Complain(const std::string& why) {
  const std::string line = "kestrune-probe: KESTRUNE_PROBE_TROUBLE: " + why + "\n";
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

uint64_t Scramble(uint64_t word) {
  word += 0x9E3779B97F4A7C15U;
  word = (word ^ word >> 30) * 0xBF58476D1CE4E5B9U;
  word = (word ^ word >> 27) * 0x94D049BB133111EBU;
  return word ^ word >> 31;
}

/// The choice for a list's turn. Of those drawn from a seed every other one is none; each list has draws of its own, so
/// that threads which ask for several lists at once get the same ones in every run.
Choice Draw(const List& list, uint32_t turn) {
  if (!seed) return !isOnce || turn % 2 == 1 ? asked : Choice{};
  const uint64_t random = Scramble(Scramble(Scramble(*seed + static_cast<uint64_t>(list.first)) + list.second) + turn);
  if ((random & 1) == 0) return {};
  const TroubleName& name = NAMES.at(random / 2 % NAMES.size());
  const uint32_t number =
      name.trouble == Trouble::RECORDS ? SEEDED_RECORDS.at(random / 64 % SEEDED_RECORDS.size()) : name.number;
  return {name.trouble, number};
}

bool ReadWord(const std::string& word) {
  const size_t equals = word.find('=');
  const std::string name = word.substr(0, equals);
  std::optional<double> number;
  if (equals != std::string::npos) {
    char* end = nullptr;
    number = strtod(word.c_str() + equals + 1, &end);
    if (end == word.c_str() + equals + 1 || *end != '\0' || *number < 0 || *number > 4e9) return false;
  }
  if (name == "seed" && number) {
    seed = static_cast<uint64_t>(*number);
    return true;
  }
  const auto* known = std::find_if(NAMES.begin(), NAMES.end(), [&](const auto& each) { return name == each.name; });
  if (known == NAMES.end()) return false;
  asked = {known->trouble, known->number};
  if (number) asked.number = static_cast<uint32_t>(known->trouble == Trouble::LATE ? *number * 1000 : *number);
  isOnce = known->isOnce;
  return true;
}

}  // namespace

void ReadTroubleChoice() {
  const char* variable = getenv("KESTRUNE_PROBE_TROUBLE");
  std::string text = variable == nullptr ? "" : variable;
  if (text.find('/') != std::string::npos) {
    std::ifstream file(text);
    if (!file) Complain("cannot read '" + text + "'");
    text.assign(std::istreambuf_iterator<char>(file), {});
  }
  std::istringstream lines(text);
  size_t count = 0;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line.substr(0, line.find('#')));
    for (std::string word; words >> word; ++count) {
      if (count > 0) {
        Complain("one trouble at a time, so not '" + word + "'");
      } else if (!ReadWord(word)) {
        Complain("no trouble '" + word + "'; see the probe's page");
      }
    }
  }
}

Choice ChooseTrouble(const Request& request) {
  if (!request.IsList() || request.count == nullptr || (asked.trouble == Trouble::NONE && !seed)) return {};
  const std::lock_guard lock(mutex);
  const List list{request.kind, request.Log()};
  Turn& turn = turns[list];
  // Whoever fetches without counting has a turn of its own.
  const bool isFetch = request.array != nullptr;
  if (!isFetch || !turn.isCounted) turn.choice = Draw(list, ++turn.number);
  turn.isCounted = !isFetch;
  return turn.choice;
}

const char* NameOf(Trouble trouble) {
  const auto* known =
      std::find_if(NAMES.begin(), NAMES.end(), [&](const auto& each) { return each.trouble == trouble; });
  return known == NAMES.end() ? nullptr : known->name;
}

}  // namespace probe
