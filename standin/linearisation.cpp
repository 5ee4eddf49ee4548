#include "standin/linearisation.h"

#include <cmath>

namespace standin {

double Linearise(Linearisation function, double x) {
  switch (function) {
    case Linearisation::kLinear:
      return x;
    case Linearisation::kLn:
      return std::log(x);
    case Linearisation::kLog10:
      return std::log10(x);
    case Linearisation::kLog2:
      return std::log2(x);
    case Linearisation::kE:
      return std::exp(x);
    case Linearisation::kExp10:
      return std::pow(10.0, x);
    case Linearisation::kExp2:
      return std::exp2(x);
    case Linearisation::kInverse:
      return 1 / x;
    case Linearisation::kSquare:
      return x * x;
    case Linearisation::kCube:
      return x * x * x;
    case Linearisation::kSquareRoot:
      return std::sqrt(x);
    case Linearisation::kCubeRoot:
      return std::cbrt(x);
  }
  return x;
}

}  // namespace standin
