/// recordstream.h: records written to standard output one by one, as they come.
#ifndef KESTRUNE_STANDIN_FOLLOW_RECORDSTREAM_H_
#define KESTRUNE_STANDIN_FOLLOW_RECORDSTREAM_H_

#include <cstddef>
#include <string>
#include <vector>

#include "standin/output/table.h"

namespace standin {

class RecordStream {
 public:
  /// `format` is table, csv or jsonl. The first two begin with a line of the columns' names.
  RecordStream(std::vector<Column> columns, std::string format);

  void Write(const Row& row);

 private:
  std::vector<Column> columns_;
  std::string format_;
  bool onTerminal_;
  std::vector<size_t> widths_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FOLLOW_RECORDSTREAM_H_
