/// linearisation.h: the functions by which IPMI turns the linear value of a reading into the sensor's unit.
#ifndef KESTRUNE_STANDIN_HOST_LINEARISATION_H_
#define KESTRUNE_STANDIN_HOST_LINEARISATION_H_

#include <array>
#include <cstdint>
#include <string_view>

namespace standin {

/// Numbered as in sensor data records.
enum class Linearisation : uint8_t {
  LINEAR,
  LN,
  LOG10,
  LOG2,
  E,
  EXP10,
  EXP2,
  INVERSE,
  SQUARE,
  CUBE,
  SQUARE_ROOT,
  CUBE_ROOT
};

/// Their names, each at its number.
inline constexpr std::array<std::string_view, 12> LINEARISATIONS{
    "linear", "ln", "log10", "log2", "e", "exp10", "exp2", "1/x", "square", "cube", "square root", "cube root"};

/// The function's value at x; infinite or not a number where it has none.
double Linearise(Linearisation function, double x);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_LINEARISATION_H_
