/// sdr.cpp: decodes the three kinds of sensor records. Offsets count from 0.
#include "standin/ipmi/sdr.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "standin/ipmi/sdrtext.h"

namespace standin {
namespace {

constexpr uint8_t CONTROLLER = 0x20;  // its own address on the management bus

/// Where the kinds of sensor records differ.
struct Layout {
  uint8_t type;
  bool hasFactors;
  size_t sharing;  ///< two bytes that tell how many sensors share the record; 0: it stands for one
  size_t name;     ///< type and length byte of the ID string
};

constexpr std::array LAYOUTS{Layout{0x01, true, 0, 47}, Layout{0x02, false, 23, 31}, Layout{0x03, false, 12, 16}};

const Layout* FindLayout(uint8_t type) {
  for (const Layout& layout : LAYOUTS) {
    if (layout.type == type) return &layout;
  }
  return nullptr;
}

std::string Hexadecimal(unsigned number) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%02Xh", number);
  return text.data();
}

/// A signed number of `bits` bits.
int Signed(unsigned number, unsigned bits) {
  const unsigned sign = 1U << (bits - 1);
  return static_cast<int>(number ^ sign) - static_cast<int>(sign);
}

/// What tells the sensor at `index` from the others of its record: a number, or letters that go on behind Z with AA.
std::string Modifier(bool letters, unsigned index) {
  if (!letters) return std::to_string(index);
  std::string text;
  for (unsigned rest = index + 1; rest != 0; rest = (rest - 1) / 26) {
    text.insert(text.begin(), static_cast<char>('A' + (rest - 1) % 26));
  }
  return text;
}

/// Adds what a full record tells of readings. Returns whether they can be converted.
bool AddFactors(const Bytes& record, Sensor& sensor) {
  const unsigned form = record[20] >> 6;
  if (form == 3) return true;  // no readings, so nothing to convert
  const unsigned function = record[23] & 0x7F;
  if (function >= LINEARISATIONS.size()) return false;
  sensor.unit = UnitText(record[20], record[21], record[22]);
  sensor.isSigned = form != 0;
  sensor.onesComplement = form == 1;
  sensor.linearisation = static_cast<Linearisation>(function);
  sensor.m = Signed(record[24] | (record[25] & 0xC0U) << 2, 10);
  sensor.b = Signed(record[26] | (record[27] & 0xC0U) << 2, 10);
  sensor.rExp = Signed(record[29] >> 4, 4);
  sensor.bExp = Signed(record[29] & 0x0F, 4);
  return true;
}

}  // namespace

SDRContents DecodeSDR(const Bytes& record) {
  const Layout* layout = record.size() < SDR_HEADER_SIZE ? nullptr : FindLayout(record[3]);
  if (layout == nullptr) return {};
  if (record.size() <= layout->name) {
    return {{}, "sensor record " + Hexadecimal(ReadWord(record, 0)) + " is too short and left out"};
  }
  Sensor sensor;
  sensor.number = record[7];
  sensor.name = DecodeIdString(record, layout->name);
  const std::string title =
      "sensor " + Hexadecimal(sensor.number) + (sensor.name.empty() ? "" : " '" + sensor.name + "'");
  if (record[5] != CONTROLLER || (record[6] & 0x03) != 0) {
    return {{},
            title + " is another controller's (owner " + Hexadecimal(record[5]) + ", logical unit " +
                std::to_string(record[6] & 0x03) + ") and left out"};
  }

  SDRContents contents;
  if (layout->hasFactors && !AddFactors(record, sensor)) {
    contents.note = title + " has readings by a function that its record does not tell; they are shown raw";
  }
  const unsigned count = layout->sharing == 0 ? 1 : std::max(1U, record[layout->sharing] & 0x0FU);
  for (unsigned i = 0; i < count && record[7] + i <= UINT8_MAX; ++i) {
    Sensor each = sensor;
    each.number = static_cast<uint8_t>(record[7] + i);
    if (count > 1) {
      const bool letters = (record[layout->sharing] & 0x30) == 0x10;
      each.name += (each.name.empty() ? "" : " ") + Modifier(letters, (record[layout->sharing + 1] & 0x7FU) + i);
    }
    if (each.name.empty()) each.name = "sensor " + Hexadecimal(each.number);
    contents.sensors.push_back(each);
  }
  return contents;
}

}  // namespace standin
