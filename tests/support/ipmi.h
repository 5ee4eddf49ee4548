/// ipmi.h: sensor data records for a management controller, and what is told of the controller that has them.
#ifndef KESTRUNE_TESTS_SUPPORT_IPMI_H_
#define KESTRUNE_TESTS_SUPPORT_IPMI_H_

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "standin/failure.h"
#include "standin/ipmi/ipmicontroller.h"

/// Bytes written as numbers; the low 8 bits of each count.
inline std::vector<uint8_t> ToBytes(std::initializer_list<int> numbers) {
  std::vector<uint8_t> bytes;
  for (const int number : numbers) bytes.push_back(static_cast<uint8_t>(number));
  return bytes;
}

/// A sensor data record: what all have, the bytes `body` from the entity on, and the ID string with its first byte.
inline std::vector<uint8_t> MakeSDR(int type, int number, const std::vector<uint8_t>& body, const std::string& name,
                                    int owner = 0x20, int lun = 0) {
  std::vector<uint8_t> record = ToBytes({0, 0, 0x51, type, 0, owner, lun, number});
  for (const uint8_t byte : body) record.push_back(byte);
  for (const char byte : name) record.push_back(static_cast<uint8_t>(byte));
  record[4] = static_cast<uint8_t>(record.size() - 5);
  return record;
}

/// What a full record says of readings.
struct Factors {
  int form = 0, unit = 1, function = 0, m = 1, b = 0, bExp = 0, rExp = 0;
};

inline std::vector<uint8_t> MakeFull(int number, const std::string& name, const Factors& f, int owner = 0x20,
                                     int lun = 0) {
  const int highM = f.m >> 2 & 0xC0, highB = f.b >> 2 & 0xC0, exponents = f.rExp * 16 | (f.bExp & 15);
  auto body = ToBytes({7, 1, 0x67, 0x68, 1, 1, 0, 0, 0, 0, 0, 0});
  for (const int field : {f.form, f.unit, 0, f.function, f.m, highM, f.b, highB, 0, exponents}) {
    body.push_back(static_cast<uint8_t>(field));
  }
  body.resize(39);  // nominal reading, thresholds, hysteresis
  return MakeSDR(1, number, body, name, owner, lun);
}

inline std::vector<uint8_t> MakeCompact(int number, const std::string& name, int sharing = 0, int offset = 0) {
  auto body = ToBytes({7, 1, 0, 0, 7, 0x6F, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, sharing, offset});
  body.resize(23);  // hysteresis
  return MakeSDR(2, number, body, name);
}

inline std::vector<uint8_t> MakeEventOnly(int number, const std::string& name, int sharing = 0, int offset = 0) {
  return MakeSDR(3, number, ToBytes({7, 1, 7, 0x6F, sharing, offset, 0, 0}), name);
}

/// An ID string in Latin-1.
inline std::string Latin(const std::string& text) { return static_cast<char>(0xC0 | text.size()) + text; }

/// The command by which the simulator gets a record.
inline std::string AddSDR(const std::vector<uint8_t>& record) {
  std::string text = "main_sdr_add 0x20";
  for (const uint8_t byte : record) text += " " + std::to_string(byte);
  return text + "\n";
}

namespace standin {

/// The sensors' numbers and names, and the notes.
inline std::string Summary(const Sensors& sensors, const std::vector<std::string>& notes) {
  std::string text;
  for (const Sensor& sensor : sensors) text += std::to_string(sensor.number) + " " + sensor.name + ";";
  for (const std::string& note : notes) text += note.empty() ? "" : " " + note + ";";
  return text;
}

/// That of a controller, or why there is none.
inline std::string Outcome(const std::function<std::unique_ptr<IPMITransport>()>& connect) {
  try {
    const IPMIController controller(connect());
    return Summary(controller.GetSensors(), controller.Notes());
  } catch (const Failure& failure) {
    return std::to_string(failure.Status()) + ": " + failure.what();
  }
}

}  // namespace standin

#endif  // KESTRUNE_TESTS_SUPPORT_IPMI_H_
