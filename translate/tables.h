/// tables.h: the words in which event log records are described. Every look-up takes the first row that fits, so the
/// order of the rows is part of the data.
#ifndef KESTRUNE_TRANSLATE_TABLES_H_
#define KESTRUNE_TRANSLATE_TABLES_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Name of a sensor type.
struct tagSENSORTYPE_NAME {
  uint8_t bySensorType;
  char szName[60];
};
static_assert(sizeof(tagSENSORTYPE_NAME) == 61);

/// Description of an event. The row fits a record with its sensor type and event type whose event data 1, masked,
/// equals the value.
struct tagSEL_EVENT_DESC {
  uint8_t bySensorType;
  uint8_t byEventType;  ///< event/reading type code; rows with bit 7 set fit no record
  uint8_t byValue;
  uint8_t byMask;
  char szText[160];  ///< a template with placeholders, see description.h
};
static_assert(sizeof(tagSEL_EVENT_DESC) == 164);

/// Text of a sensor type's event offset, whatever the event type.
struct tagSEL_OFFSET_DESC {
  uint8_t bySensorType;
  uint8_t byOffset;  ///< 0x00 to 0x0F
  char szText[160];  ///< plain text
};
static_assert(sizeof(tagSEL_OFFSET_DESC) == 162);

extern const tagSENSORTYPE_NAME g_aSensorTypeName[];
extern const uint64_t g_ulSensorTypeNameCount;  ///< 44

extern const tagSEL_EVENT_DESC g_aSELEventDesc[];
extern const uint64_t g_ulSELEventDescCount;  ///< 365

extern const tagSEL_OFFSET_DESC g_aSELOffsetDesc[];
extern const uint64_t g_ulSELOffsetDescCount;  ///< 141

// Each of these returns the text of the first row that fits, which is NUL-terminated and never empty, or an empty text
// where no row fits. After a text of an event or an offset, BoundedText::PADDING bytes of its row can be read, as
// AppendPadded needs it.

/// The name of a sensor type.
std::string_view FindSensorTypeName(uint8_t sensorType);

/// The text of a sensor type's event offset, 0x00 to 0x0F.
std::string_view FindOffsetText(uint8_t sensorType, uint8_t offset);

/// The template of an event.
std::string_view FindEventTemplate(uint8_t sensorType, uint8_t eventType, uint8_t eventData1);

#endif  // KESTRUNE_TRANSLATE_TABLES_H_
