/// sdrtext.h: the texts in sensor data records: names in four encodings, units in numbers.
#ifndef KESTRUNE_STANDIN_IPMI_SDRTEXT_H_
#define KESTRUNE_STANDIN_IPMI_SDRTEXT_H_

#include <string>

#include "standin/ipmi/ipmitransport.h"

namespace standin {

/// The text of an ID string whose type and length byte is at `place`, as UTF-8. It ends where the record does, at the
/// latest. Control characters, marks that turn the direction of writing, and blanks at the end are left out.
std::string DecodeIdString(const Bytes& record, size_t place);

/// The unit that a record's three bytes on it describe. Empty where there is none.
std::string UnitText(uint8_t form, uint8_t base, uint8_t modifier);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_IPMI_SDRTEXT_H_
