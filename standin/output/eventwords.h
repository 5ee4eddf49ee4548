/// eventwords.h: what the IPMI standard calls the sensor types and the events of event records, and how grave each
/// event is. These words stand beside the module's own, never in their place.
#ifndef KESTRUNE_STANDIN_OUTPUT_EVENTWORDS_H_
#define KESTRUNE_STANDIN_OUTPUT_EVENTWORDS_H_

#include <cstdint>
#include <string_view>

namespace standin {

/// From the least grave on. FAILURE is that of events that the standard has no grade for: something failed, is about to
/// fail, or was lost.
enum class Severity { INFORMATION, NON_CRITICAL, FAILURE, CRITICAL, NON_RECOVERABLE };

/// The name as it is shown and given on the command line.
std::string_view SeverityName(Severity severity);

/// Event types: 01h compares a reading with its thresholds, 02h to 0Ch are the same for sensors of any type, 6Fh has
/// events of its own for each sensor type.
inline constexpr uint8_t EVENT_TYPE_THRESHOLD = 0x01;
inline constexpr uint8_t EVENT_TYPE_SENSOR_SPECIFIC = 0x6F;

struct EventWords {
  std::string_view text;  ///< empty where the standard has none
  Severity severity = Severity::INFORMATION;
};

/// The words for a sensor type, empty for one that the standard reserves or leaves to makers.
std::string_view SensorTypeName(uint8_t sensorType);

/// The words for the event `offset` of an event type, of a sensor of this type.
EventWords FindEventWords(uint8_t eventType, uint8_t sensorType, uint8_t offset);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_OUTPUT_EVENTWORDS_H_
