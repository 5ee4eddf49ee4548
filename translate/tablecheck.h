/// tablecheck.h: what the tables promise of themselves, checked when they are compiled.
#ifndef KESTRUNE_TRANSLATE_TABLECHECK_H_
#define KESTRUNE_TRANSLATE_TABLECHECK_H_

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

/// Length of the longest text of a table.
template <typename Row, size_t RowCount, size_t TextSize>
constexpr size_t LongestText(const Row (&rows)[RowCount], char const (Row::*text)[TextSize]) {
  size_t longest = 0;
  for (const Row& row : rows) longest = std::max(longest, std::string_view(row.*text).size());
  return longest;
}

/// Number of rows that `fits` picks.
template <typename Row, size_t RowCount, typename Predicate>
constexpr auto CountRows(const Row (&rows)[RowCount], Predicate fits) {
  return std::count_if(std::begin(rows), std::end(rows), fits);
}

#endif  // KESTRUNE_TRANSLATE_TABLECHECK_H_
