/// resmgr.h: the host's resource manager, which keeps the names of its sensors: the requests to it, and the functions
/// of the host process that its library (resmgr.cpp) hands them on to.
#ifndef KESTRUNE_STANDIN_HOST_RESMGR_H_
#define KESTRUNE_STANDIN_HOST_RESMGR_H_

#include <array>
#include <cstdint>

namespace standin {

/// Names the string wanted of the resource manager, as modules pass it.
struct StringRequest {
  uint32_t type;
  uint32_t objectId;
  std::array<uint32_t, 2> arguments;
};
static_assert(sizeof(StringRequest) == 16);

/// Type of a request for the name of the host's sensor `objectId`.
inline constexpr uint32_t SENSOR_NAME = 0x00080002;

}  // namespace standin

/// Null in the library when the process has no such functions. HostManager answers for MgrInit and MgrUninit.
extern "C" {
int HostManager(int start);
int HostGetStringA(uint16_t language, const standin::StringRequest* request, char* buffer, uint32_t* size);
int HostGetStringW(void);
}

#endif  // KESTRUNE_STANDIN_HOST_RESMGR_H_
