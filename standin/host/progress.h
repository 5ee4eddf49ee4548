/// progress.h: who is told how far a long reading has come.
#ifndef KESTRUNE_STANDIN_HOST_PROGRESS_H_
#define KESTRUNE_STANDIN_HOST_PROGRESS_H_

#include <cstddef>
#include <functional>

namespace standin {

/// Called after each record with how many were read, of how many as far as is known. May be empty.
using Progress = std::function<void(size_t read, size_t of)>;

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_PROGRESS_H_
