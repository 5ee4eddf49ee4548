/// rules.h: the rules that a host keeps, each with its short name, what is right, and where the host guide tells it.
#ifndef KESTRUNE_PROBE_RULES_H_
#define KESTRUNE_PROBE_RULES_H_

#include <array>
#include <cstddef>

namespace probe {

enum class Rule {
  NOT_STARTED,
  AFTER_STOP,
  START_TWICE,
  STOP_WITHOUT_START,
  NOT_STOPPED,
  REENTRANT,
  FORKED,
  SIGNAL_HANDLER,
  DESCRIPTORS,
  LOCALE,
  CHILD_SIGNAL,
  UNKNOWN_REQUEST,
  NULL_ARGUMENT,
  NULL_ARRAY,
  ARRAY_TOO_SMALL,
  UNKNOWN_IDENTIFIER,
  RANGE_REVERSED,
  COUNT_NOT_FETCHED,
  COUNT_OF_ANOTHER,
  REFUSAL_IGNORED,
  FREED_TWICE,
  FREED_WRONG,
  CHANGED,
  NOT_FREED,
  LEVEL,
  TEXT_UNTERMINATED,
  WRITE_INCOMPLETE,
  FUNCTION_MISSING,
  FUNCTION_THROWS,
  FUNCTION_SLOW,
  FUNCTION_SIZE,
};

struct RuleText {
  Rule rule;
  const char* name;
  const char* right;    ///< one clause, as it stands after "right:"
  const char* section;  ///< of the host guide
};

inline constexpr std::array<RuleText, 31> RULES{{
    {Rule::NOT_STARTED, "not-started", "start with SPInitialize before the first request", "2. Load and start"},
    {Rule::AFTER_STOP, "after-stop", "send no request after SPUninitialize", "2. Load and start"},
    {Rule::START_TWICE, "start-twice", "start once; to start anew, stop first", "2. Load and start"},
    {Rule::STOP_WITHOUT_START, "stop-without-start", "stop once, after a start that answered 1", "2. Load and start"},
    {Rule::NOT_STOPPED, "not-stopped", "call SPUninitialize before dlclose and before the process ends",
     "2. Load and start"},
    {Rule::REENTRANT, "reentrant", "Output and the gm... functions call no entry point", "3. Threads"},
    {Rule::FORKED, "forked", "only the process that made the first call goes on calling", "3. Threads"},
    {Rule::SIGNAL_HANDLER, "signal-handler", "a signal handler leaves a note, and a thread makes the call",
     "3. Threads"},
    {Rule::DESCRIPTORS, "descriptors", "keep descriptors 0, 1 and 2 open, on /dev/null if on nothing else",
     "3. Threads"},
    {Rule::LOCALE, "locale", "call setlocale(LC_CTYPE, \"\") under a locale that holds the logs' text", "3. Threads"},
    {Rule::CHILD_SIGNAL, "sigchld", "leave SIGCHLD at its default or handle it; do not ignore it", "3. Threads"},
    {Rule::UNKNOWN_REQUEST, "unknown-request", "send a request of the table, with an operation that it has",
     "4. Requests"},
    {Rule::NULL_ARGUMENT, "null-argument", "identifier, count and range are there in every request that has them",
     "4. Requests"},
    {Rule::NULL_ARRAY, "null-array", "a null array goes with a count of 0", "5. Two calls"},
    {Rule::ARRAY_TOO_SMALL, "array-too-small", "the count says no more than the array has room for", "5. Two calls"},
    {Rule::UNKNOWN_IDENTIFIER, "unknown-identifier", "the form is IDV_CONFIGGROUP or IDV_CONFIGTYPE, the ID a log's",
     "4. Requests"},
    {Rule::RANGE_REVERSED, "range-reversed", "begin is no greater than end, and both 0 for all of the log",
     "5. Two calls"},
    {Rule::COUNT_NOT_FETCHED, "count-not-fetched",
     "a count is followed by a fetch; SP_PROPERTY tells a record count alone", "5. Two calls"},
    {Rule::COUNT_OF_ANOTHER, "count-of-another", "each request is fetched with a count of its own", "5. Two calls"},
    {Rule::REFUSAL_IGNORED, "refusal-ignored", "look at each answer; after 0 nothing was counted, filled or started",
     "5. Two calls"},
    {Rule::FREED_TWICE, "freed-twice", "free once, and set the pointer to null", "6. What becomes the host's"},
    {Rule::FREED_WRONG, "freed-wrong", "free entries and strings with array delete of their own type",
     "6. What becomes the host's"},
    {Rule::CHANGED, "changed", "leave read-only entries and their strings as they came; copy what is to be changed",
     "6. What becomes the host's"},
    {Rule::NOT_FREED, "not-freed", "free the entries of every filled item before the stop",
     "6. What becomes the host's"},
    {Rule::LEVEL, "level", "CE_LEVEL is 0 plain, 1 note, 2 warning or 3 critical", "7. Write a message"},
    {Rule::TEXT_UNTERMINATED, "text-unterminated", "a text ends with a NUL inside its memory", "7. Write a message"},
    {Rule::WRITE_INCOMPLETE, "write-incomplete",
     "an item with dwID CONFIG_TYPE_LOG and writable entries CE_LEVEL and CE_TEXT", "7. Write a message"},
    {Rule::FUNCTION_MISSING, "function-missing", "export every function of the host; link with -rdynamic",
     "1. Export what the module imports"},
    {Rule::FUNCTION_THROWS, "function-throws", "catch inside the function and answer 0",
     "1. Export what the module imports"},
    {Rule::FUNCTION_SLOW, "function-slow", "answer soon, and wait for no thread that calls the module", "3. Threads"},
    {Rule::FUNCTION_SIZE, "function-size", "sizes and counts told hold, and no more is written than fits",
     "1. Export what the module imports"},
}};

/// Whether the table has its rows in the order of the rules.
constexpr bool AreInOrder() {
  for (size_t i = 0; i < RULES.size(); ++i) {
    if (RULES[i].rule != static_cast<Rule>(i)) return false;  // NOLINT(*-constant-array-index)
  }
  return true;
}
static_assert(AreInOrder() && RULES.back().rule == Rule::FUNCTION_SIZE);

}  // namespace probe

#endif  // KESTRUNE_PROBE_RULES_H_
