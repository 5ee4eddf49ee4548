/// nubo.h: NUBO, the host's hardware-access module, as far as kestrune uses it: the way to the management controller.
/// The host process exports these functions. Unless said otherwise they answer non-zero for success and 0 for failure.
#ifndef KESTRUNE_PLATFORM_NUBO_H_
#define KESTRUNE_PLATFORM_NUBO_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/selrecord.h"

struct tagVARIANT;

/// Exchange record of gmGetIPMIEntry, and one entry of the SEL cache.
struct tagSEL_DATA {
  uint16_t wRecordID;      ///< before the read: the entry asked for, 0 for the first; after it: the entry read
  uint16_t wNextRecordID;  ///< the entry that follows, SEL_LAST_ENTRY when there is none
  SELRecord abyRecord;     ///< the record
};
static_assert(sizeof(tagSEL_DATA) == 20 && offsetof(tagSEL_DATA, abyRecord) == 4);

/// Next record ID of the last entry.
inline constexpr uint16_t SEL_LAST_ENTRY = 0xFFFF;

/// Entries that a log may have: record IDs have 16 bits. A controller that announces more is not believed.
inline constexpr uint32_t SEL_ENTRIES_MAX = 0xFFFF;

/// Information record of gmGetIPMIInfo. The host owns its layout; the card ID alone is read.
struct tagIPMI_INFO {
  uint32_t dwReserved;
  uint32_t dwCardID;  ///< IPMI_NO_CARD when there is no card
  std::array<uint8_t, 32> abyReserved;
};
static_assert(sizeof(tagIPMI_INFO) == 40 && offsetof(tagIPMI_INFO, dwCardID) == 4);

inline constexpr uint32_t IPMI_NO_CARD = 255;

extern "C" {

int gmInitialize(void);
int gmUninitialize(void);
int gmGetIPMIInfo(tagIPMI_INFO* info);

/// With a null `buffer`: stores the size of the property's text, its NUL included. With a buffer of that size: copies
/// the text into it.
int gmGetProperty(const char* name, uint32_t* size, char* buffer);

/// Stores the number of entries in the controller's log.
int gmSELEnumEntry(uint32_t* count);

/// Reads the entry that `entry` names by its record ID.
int gmGetIPMIEntry(tagSEL_DATA* entry);

/// The lock of the hardware-access module, held around gmExecSensorValue. The result is not looked at.
int gmEnterMutex(uint32_t timeout);
int gmExitMutex(void);

/// Converts a raw reading (`in`) of a host sensor into its unit (`out`), with the operation "TRANS" and `count` 1. The
/// result is not looked at; an untouched `out` stands for 0.
int gmExecSensorValue(uint32_t sensorID, const char* operation, int count, tagVARIANT* in, tagVARIANT* out);

}  // extern "C"

#endif  // KESTRUNE_PLATFORM_NUBO_H_
