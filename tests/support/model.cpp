#include "tests/support/model.h"

namespace {

std::string TwoDigits(int number) { return std::to_string(100 + number).substr(1); }

/// The day and the time of line `i` of `count`.
int Day(int i, int count) { return i * 2 / count + 9; }
std::string Time(int i) { return TwoDigits(i / 3600) + ":" + TwoDigits(i / 60 % 60) + ":" + TwoDigits(i % 60); }

}  // namespace

std::string MakeLog(int count, const std::string& tag) {
  std::string log;
  for (int i = 0; i < count; ++i) {
    log += (Day(i, count) == 9 ? "Jun  9 " : "Jun 10 ") + Time(i) + " host " + tag + "[" + std::to_string(i) +
           "]: message number " + std::to_string(i) + "\n";
  }
  return log;
}

Rows LogRows(uint32_t id, int count, const std::string& tag, int begin, int end) {
  if (end == 0) end = count;
  Rows rows;
  for (int i = count - begin; i >= count - end; --i) {
    rows.push_back({static_cast<uint32_t>(count - end + 1) + static_cast<uint32_t>(rows.size()),
                    id,
                    TEXT_SHAPE,
                    {Day(i, count) == 9 ? "Jun 09" : "Jun 10", Time(i), tag + "[" + std::to_string(i) + "]", "host",
                     "message number " + std::to_string(i)}});
  }
  return rows;
}
