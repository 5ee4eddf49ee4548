/// host.h: the host process, as modules and the resource-manager library see it: the functions that they find in it,
/// and what these answer. kestrune-host, the tests, the fuzz targets and the benchmarks each describe their own host.
#ifndef KESTRUNE_STANDIN_HOST_HOST_H_
#define KESTRUNE_STANDIN_HOST_HOST_H_

#include <cstdint>
#include <functional>
#include <string>

#include "platform/host.h"
#include "standin/host/controller.h"
#include "standin/host/resmgr.h"

namespace standin {

inline NoController noController;

/// What the functions answer. A hook runs inside its function, on the module's thread; one that is not set costs
/// nothing.
struct HostProcess {
  int supported = 1;     ///< GeneralOSSupportChecking
  int dist = 0;          ///< GetOSDist
  int initialize = 1;    ///< gmInitialize
  int uninitialize = 1;  ///< gmUninitialize
  int info = 1;          ///< gmGetIPMIInfo
  uint32_t card = 0;     ///< its card ID, where there is a controller
  int propertySize = 1;  ///< gmGetProperty without a buffer
  int propertyText = 1;  ///< gmGetProperty with one
  int manager = 1;       ///< MgrInit
  bool managerIsUp = false;

  Controller* controller = &noController;  ///< not owned

  /// Takes a message of Output.
  std::function<void(int level, const std::string& text)> onOutput;
  /// First thing in each function of NUBO: its name, for gmGetIPMIEntry followed by a blank and the record ID asked
  /// for, for gmExecSensorValue by the sensor's, in decimal. Also for GetStringW, which nobody should call.
  std::function<void(const std::string& call)> onNubo;
  /// The bytes of the property G_IPMI_ZARP_ID; unset: the controller's sensors.
  std::function<std::string()> sensorTable;
  /// gmExecSensorValue; unset: by the controller's sensor.
  std::function<void(uint32_t sensor, const tagVARIANT& in, tagVARIANT* out)> convert;
  /// GetStringA, with its two calls for a string; unset: the names of the controller's sensors.
  std::function<int(uint16_t language, const StringRequest& request, char* buffer, uint32_t* size)> getString;
};

/// The host whose answers the functions give. Chosen before a module is loaded.
extern HostProcess* host;

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_HOST_H_
