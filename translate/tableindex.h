/// tableindex.h: what the tables promise of themselves, and an index by sensor type; all of it worked out when they are
/// compiled.
#ifndef KESTRUNE_TRANSLATE_TABLEINDEX_H_
#define KESTRUNE_TRANSLATE_TABLEINDEX_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
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

/// Chains the rows of each sensor type in table order, so that a look-up passes over those of all other types and still
/// finds the same first row that fits.
template <size_t RowCount>
class RowIndex {
 public:
  template <typename Row>
  explicit constexpr RowIndex(const Row (&rows)[RowCount]) {
    first_.fill(NO_ROW);
    for (size_t i = RowCount; i-- > 0;) {
      uint16_t& first = first_.at(rows[i].bySensorType);
      next_.at(i) = first;
      first = static_cast<uint16_t>(i);
    }
  }

  /// The first row of a sensor type that `fits`, or null.
  template <typename Row, typename Predicate>
  const Row* Find(const Row (&rows)[RowCount], uint8_t sensorType, Predicate fits) const {
    for (uint16_t i = first_[sensorType]; i != NO_ROW; i = next_[i]) {
      if (fits(rows[i])) return &rows[i];
    }
    return nullptr;
  }

 private:
  static constexpr uint16_t NO_ROW = 0xFFFF;
  static_assert(RowCount < NO_ROW);

  std::array<uint16_t, 256> first_{};
  std::array<uint16_t, RowCount> next_{};
};
template <typename Row, size_t RowCount>
RowIndex(const Row (&)[RowCount]) -> RowIndex<RowCount>;

#endif  // KESTRUNE_TRANSLATE_TABLEINDEX_H_
