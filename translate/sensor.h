/// sensor.h: a sensor's name and its readings, with the host's help. The callers hold the module lock.
#ifndef KESTRUNE_TRANSLATE_SENSOR_H_
#define KESTRUNE_TRANSLATE_SENSOR_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/boundedtext.h"
#include "platform/selrecord.h"
#include "translate/resmgr.h"

/// The name of a record's sensor: the host's, or that of the sensor type, or "N/A".
class SensorName {
 public:
  /// Asks the host. Throws std::bad_alloc.
  explicit SensorName(const SELRecord& record);

  bool IsFromHost() const { return isFromHost_; }
  /// The name, NUL-terminated.
  const char* Text() const { return text_.data(); }

  /// Appends the first `most` characters of the name. Replaces each `unwanted` and `alsoUnwanted` character by a blank;
  /// a NUL, which no name holds, replaces nothing.
  void AppendTo(BoundedText& text, size_t most, char unwanted, char alsoUnwanted) const;

 private:
  HostString host_;
  bool isFromHost_;
  std::string_view text_;
};

// SensorName is the module's own way to a name; the next two copy it for callers with a buffer of their own.

/// Copies the name of the record's sensor type, or "N/A", as strncpy does over `length` bytes. Returns `output`.
char* GetSensorNameBySensorType(const SELRecord* record, uint8_t length, char* output);

/// Copies the host's name of the record's sensor, as strncpy does over `size` + 1 bytes: a name longer than `size` is
/// not terminated, so callers hand over a zeroed buffer with one byte to spare. Without a host's name it is the sensor
/// type's, over `size` bytes. `size` is at most 255. Returns `output`. Throws std::bad_alloc.
char* GetSensorName(const SELRecord* record, uint32_t size, char* output);

/// The raw reading of an IPMI sensor in the sensor's unit, at most 32 bits wide; 0 when there is none. Holds the
/// hardware-access module's lock meanwhile.
uint64_t GetConvertedTriggerValue(uint8_t sensorNumber, uint8_t rawReading);

#endif  // KESTRUNE_TRANSLATE_SENSOR_H_
