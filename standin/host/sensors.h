/// sensors.h: a machine's sensors, from which the stand-in controller and the stand-in resource manager answer, and the
/// files that describe them.
///
/// Such a file is a JSON object with the one member "sensors", an array of objects:
///
///   "number"          0 to 255, the controller's number of the sensor
///   "hostId"          0 to 4294967295, the host's ID of it
///   "name"            the host's name of it
///   "unit"            the unit of its readings (may be left out); "V" alone makes a difference: see ConvertReading
///   "M", "B"          -512 to 511   \  linear conversion of a raw reading x:
///   "bExp", "rExp"    -8 to 7       /  (M * x + B * 10^bExp) * 10^rExp (may be left out: 1, 0, 0, 0)
///   "signed"          whether a raw reading is a signed byte (may be left out: false)
///   "onesComplement"  whether a signed byte is in one's complement, not in two's (may be left out: false)
///   "linearisation"   name of the function that the linear value passes through last (may be left out: linear)
#ifndef KESTRUNE_STANDIN_HOST_SENSORS_H_
#define KESTRUNE_STANDIN_HOST_SENSORS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "standin/host/linearisation.h"

namespace standin {

struct Sensor {
  uint8_t number = 0;
  uint32_t hostId = 0;
  std::string name;
  std::string unit;
  int m = 1;
  int b = 0;
  int bExp = 0;
  int rExp = 0;
  bool isSigned = false;
  bool onesComplement = false;
  Linearisation linearisation = Linearisation::LINEAR;

  bool operator==(const Sensor&) const = default;
};

using Sensors = std::vector<Sensor>;

/// Throws Failure (wrong arguments) with the place of the fault.
Sensors ReadSensors(const std::string& path);

/// The description of these sensors, as ReadSensors reads it: one sensor a line, what may be left out left out. Their
/// texts are UTF-8.
std::string DescribeSensors(const Sensors& sensors);

/// The first sensor with this host ID, or null.
const Sensor* FindSensor(const Sensors& sensors, uint32_t hostId);

/// The sensor's value at the raw reading, rounded to the nearest integer; 0 where the sensor's function has no value.
/// Of a sensor that measures volts it is in millivolts, which is what modules take a voltage for.
int64_t ConvertReading(const Sensor& sensor, uint8_t raw);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_SENSORS_H_
