#include "standin/host/linearisation.h"

#include <cmath>

namespace standin {

double Linearise(Linearisation function, double x) {
  switch (function) {
    case Linearisation::LINEAR:
      return x;
    case Linearisation::LN:
      return std::log(x);
    case Linearisation::LOG10:
      return std::log10(x);
    case Linearisation::LOG2:
      return std::log2(x);
    case Linearisation::E:
      return std::exp(x);
    case Linearisation::EXP10:
      return std::pow(10.0, x);
    case Linearisation::EXP2:
      return std::exp2(x);
    case Linearisation::INVERSE:
      return 1 / x;
    case Linearisation::SQUARE:
      return x * x;
    case Linearisation::CUBE:
      return x * x * x;
    case Linearisation::SQUARE_ROOT:
      return std::sqrt(x);
    case Linearisation::CUBE_ROOT:
      return std::cbrt(x);
  }
  return x;
}

}  // namespace standin
