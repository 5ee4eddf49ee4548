/// selrows.h: finds the record behind each item of the event log, and adds what it tells.
#ifndef KESTRUNE_STANDIN_OUTPUT_SELROWS_H_
#define KESTRUNE_STANDIN_OUTPUT_SELROWS_H_

#include <vector>

#include "platform/selrecord.h"
#include "standin/output/table.h"

namespace standin {

/// The values of the field `source`.
inline constexpr char FROM_CONTROLLER[] = "controller";
inline constexpr char FROM_ARCHIVE[] = "archive";

/// Adds the fields of records (selfields.h) and the times to rows that have a date, a time and a source: items `begin`
/// to `end` of the module's list, newest first. That list is `controller`, followed by those of `archive` that modules
/// list, whose positions all of `archive` takes part in counting; both newest first. Where the numbers of items and
/// records differ, or an item has another date or time than its record, the fields are null.
void AddRecords(std::vector<Row>& rows, size_t begin, size_t end, const std::vector<SELRecord>& controller,
                const std::vector<SELRecord>& archive);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_OUTPUT_SELROWS_H_
