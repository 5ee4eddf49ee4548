/// openipmi.h: one session with a management controller, over the low-level connection of the OpenIPMI library.
#ifndef KESTRUNE_STANDIN_IPMI_OPENIPMI_H_
#define KESTRUNE_STANDIN_IPMI_OPENIPMI_H_

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "standin/ipmi/ipmioptions.h"
#include "standin/ipmi/ipmitransport.h"

struct ipmi_con_s;
struct ipmi_ll_stat_info_s;

namespace standin {

using Deadline = std::chrono::steady_clock::time_point;

enum class IPMIProtocol { LOCAL, RMCP_PLUS, V1_5 };

/// Why no session came about.
struct IPMILoginError {
  int error;      ///< as the library tells it
  bool answered;  ///< whether anything came back over the network at all
};

class OpenIPMI;

/// Used by one thread at a time, as are all sessions of the process together.
class IPMISession {
 public:
  /// Starts a session. `address` is numeric, and not looked at for this machine's own controller. See `Error` next.
  IPMISession(IPMIProtocol protocol, const std::string& address, const IPMIOptions& options, Deadline deadline);
  ~IPMISession();
  IPMISession(const IPMISession&) = delete;
  IPMISession& operator=(const IPMISession&) = delete;

  /// Why the session did not start; none when it did.
  const std::optional<IPMILoginError>& Error() const { return error_; }

  /// Sends a command. Returns none when no answer comes until the deadline, or the session ends.
  std::optional<IPMIAnswer> Request(const IPMICommand& command, const Bytes& data, Deadline deadline);

 private:
  int SetUp(IPMIProtocol protocol, const std::string& address, const IPMIOptions& options);

  std::shared_ptr<OpenIPMI> library_;
  ipmi_con_s* connection_ = nullptr;
  ipmi_ll_stat_info_s* statistics_ = nullptr;
  bool decided_ = false;  ///< the library has told whether the session starts
  bool up_ = false;
  bool answered_ = false;
  int lastError_ = 0;
  std::optional<IPMILoginError> error_;
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_IPMI_OPENIPMI_H_
