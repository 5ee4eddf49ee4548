/// model.h: what a text log must look like in a reply, worked out without the module and the shell.
#ifndef KESTRUNE_TESTS_SUPPORT_MODEL_H_
#define KESTRUNE_TESTS_SUPPORT_MODEL_H_

#include "tests/support/module.h"

/// The rows of a log with this content, whole, or of its lines `begin` to `end`, which are counted from the newest and
/// must exist. The merged application log is sorted before they are counted, others are taken as they stand.
Rows ModelRows(const std::string& content, uint32_t id, size_t begin = 1, size_t end = 0);

/// A log of `count` lines, oldest first, all of one month and two days, one padded with a blank.
std::string MakeLog(int count, const std::string& tag = "app");

#endif  // KESTRUNE_TESTS_SUPPORT_MODEL_H_
