/// model.h: text logs whose items are known because every field of every line is.
#ifndef KESTRUNE_TESTS_SUPPORT_MODEL_H_
#define KESTRUNE_TESTS_SUPPORT_MODEL_H_

#include "tests/support/module.h"

/// A log of `count` lines, oldest first, all of one month and two days, one padded with a blank.
std::string MakeLog(int count, const std::string& tag = "app");

/// The items of all lines of MakeLog, or of the `begin`th to the `end`th, counted from the newest.
Rows LogRows(uint32_t id, int count, const std::string& tag = "app", int begin = 1, int end = 0);

#endif  // KESTRUNE_TESTS_SUPPORT_MODEL_H_
