/// sdrrepository.h: reads the repository of sensor data records that a management controller keeps.
#ifndef KESTRUNE_STANDIN_IPMI_SDRREPOSITORY_H_
#define KESTRUNE_STANDIN_IPMI_SDRREPOSITORY_H_

#include <string>
#include <vector>

#include "standin/host/progress.h"
#include "standin/ipmi/ipmitransport.h"

namespace standin {

struct SDRRepository {
  std::vector<Bytes> records;      ///< in the controller's order
  std::vector<std::string> notes;  ///< what is left out, and why
};

/// Reads all records, in pieces where the controller cannot send them whole. A repository that changes meanwhile is
/// read again. A controller without one gives no records and a note. Throws Failure.
SDRRepository ReadSDRRepository(IPMITransport& transport, const Progress& progress);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_IPMI_SDRREPOSITORY_H_
