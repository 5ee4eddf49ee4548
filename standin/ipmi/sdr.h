/// sdr.h: the sensors that one sensor data record (SDR) of a management controller describes.
#ifndef KESTRUNE_STANDIN_IPMI_SDR_H_
#define KESTRUNE_STANDIN_IPMI_SDR_H_

#include <string>

#include "standin/host/sensors.h"
#include "standin/ipmi/ipmitransport.h"

namespace standin {

/// The part of a record that is the same in all: record ID, version, type, and the number of bytes that follow.
inline constexpr size_t SDR_HEADER_SIZE = 5;

struct SDRContents {
  Sensors sensors;   ///< without host IDs; none for records of other things
  std::string note;  ///< what the sensors lack or why there are none, if that is worth telling
};

/// Decodes a record. Full records have names and factors, compact and event-only records names alone; one of these may
/// stand for several sensors with consecutive numbers. Sensors of others than the controller itself are left out: the
/// number alone, as event records have it, would not tell them apart.
SDRContents DecodeSDR(const Bytes& record);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_IPMI_SDR_H_
