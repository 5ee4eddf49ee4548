/// failure.h: how kestrune-host gives up: one line for its user, and the exit status that goes with it.
#ifndef KESTRUNE_STANDIN_FAILURE_H_
#define KESTRUNE_STANDIN_FAILURE_H_

#include <stdexcept>
#include <string>

namespace standin {

inline constexpr int REQUEST_FAILED = 1;
inline constexpr int WRONG_ARGUMENTS = 2;

class Failure : public std::runtime_error {
 public:
  Failure(int status, const std::string& line) : std::runtime_error(line), status_(status) {}
  int Status() const { return status_; }

 private:
  int status_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_FAILURE_H_
