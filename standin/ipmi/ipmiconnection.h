/// ipmiconnection.h: the way to a real management controller, be it this machine's own or one over the network.
#ifndef KESTRUNE_STANDIN_IPMI_IPMICONNECTION_H_
#define KESTRUNE_STANDIN_IPMI_IPMICONNECTION_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "standin/ipmi/ipmioptions.h"
#include "standin/ipmi/ipmitransport.h"
#include "standin/ipmi/openipmi.h"

namespace standin {

/// The device file through which this machine's own controller is reached, if there is one.
std::optional<std::string> FindIPMIDevice();

/// One at a time in a process, used by one thread at a time.
class IPMIConnection : public IPMITransport {
 public:
  /// Logs in. Throws Failure with what went wrong, within the timeout.
  explicit IPMIConnection(const IPMIOptions& options);

  /// Where no answer comes, one new login is made and the command sent again, all within the timeout. When that failed,
  /// requests fail at once until a timeout later: who reads a whole log does not wait for each record.
  IPMIAnswer Request(const IPMICommand& command, const Bytes& data) override;

 private:
  void Open(Deadline deadline);

  IPMIOptions options_;
  std::vector<std::string> addresses_;  ///< numeric; an empty one stands for this machine's own controller
  std::unique_ptr<IPMISession> session_;
  std::string lost_;  ///< why the last new login failed
  Deadline silentUntil_{};
  Deadline lastUsed_{};
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_IPMI_IPMICONNECTION_H_
