#include "standin/ipmi/ipmiconnection.h"

#include <fcntl.h>
#include <linux/ipmi.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "standin/failure.h"
#include "standin/ipmi/ipmilogin.h"

namespace standin {
namespace {

constexpr size_t MAX_USER = 16;
constexpr size_t MAX_PASSWORD = 20;
constexpr auto IDLE = std::chrono::seconds(50);

Deadline Now() { return Deadline::clock::now(); }

void CheckOptions(const IPMIOptions& options) {
  const auto check = [](const std::string& text, size_t most, const char* what) {
    if (text.size() <= most) return;
    throw Failure(WRONG_ARGUMENTS, std::string("the ") + what + " is longer than the " + std::to_string(most) +
                                       " bytes that IPMI allows");
  };
  check(options.user, MAX_USER, "user name");
  check(options.password, MAX_PASSWORD, "password");
}

void CheckDevice() {
  const std::optional<std::string> device = FindIPMIDevice();
  if (!device) {
    throw Failure(REQUEST_FAILED,
                  "this machine shows no management controller: there is no /dev/ipmi0; where it has one, load the "
                  "kernel modules with: modprobe -a ipmi_si ipmi_devintf");
  }
  const int file = open(device->c_str(), O_RDWR | O_CLOEXEC);
  if (file < 0 && (errno == EACCES || errno == EPERM)) {
    throw Failure(REQUEST_FAILED, "no right to open " + *device + "; run this as root");
  }
  unsigned address = 0;
  // The library ends the whole program when the file is not what it takes it for.
  const bool good = file >= 0 && ioctl(file, IPMICTL_GET_MY_ADDRESS_CMD, &address) == 0;
  const std::string why = good ? "" : std::strerror(errno);
  if (file >= 0) close(file);
  if (!good) throw Failure(REQUEST_FAILED, *device + " does not work as the device of a management controller: " + why);
}

}  // namespace

std::optional<std::string> FindIPMIDevice() {
  for (const char* device : {"/dev/ipmi0", "/dev/ipmi/0", "/dev/ipmidev/0"}) {
    if (access(device, F_OK) == 0) return device;
  }
  return std::nullopt;
}

IPMIConnection::IPMIConnection(const IPMIOptions& options) : options_(options) {
  const Deadline deadline = Now() + options_.timeout;
  CheckOptions(options_);
  if (options_.host) {
    addresses_ = ResolveHost(*options_.host, deadline);
  } else {
    CheckDevice();
    addresses_.emplace_back();
  }
  Open(deadline);
  lastUsed_ = Now();
}

void IPMIConnection::Open(Deadline deadline) {
  IPMIProtocol protocol = options_.host ? IPMIProtocol::RMCP_PLUS : IPMIProtocol::LOCAL;
  // A name may have addresses at which no controller listens. The one that answers is the first to be tried next time.
  for (auto left = static_cast<int>(addresses_.size());; --left) {
    session_ = std::make_unique<IPMISession>(protocol, addresses_.front(), options_, Now() + (deadline - Now()) / left);
    if (left == 1 || !session_->Error() || session_->Error()->answered) break;
    std::rotate(addresses_.begin(), addresses_.begin() + 1, addresses_.end());
  }
  if (session_->Error() && LacksRMCPPlus(*session_->Error()) && options_.allowIPMI15) {
    protocol = IPMIProtocol::V1_5;
    session_ = std::make_unique<IPMISession>(protocol, addresses_.front(), options_, deadline);
  }
  if (!session_->Error()) return;
  const std::string text = LoginErrorText(protocol, *session_->Error());
  session_.reset();
  const std::string where = options_.host
                                ? "the controller at " + *options_.host + " port " + std::to_string(options_.port)
                                : "this machine's controller (" + FindIPMIDevice().value_or("its device is gone") + ")";
  throw Failure(REQUEST_FAILED, "no session with " + where + ": " + text);
}

IPMIAnswer IPMIConnection::Request(const IPMICommand& command, const Bytes& data) {
  const Deadline start = Now();
  if (start < silentUntil_) throw Failure(REQUEST_FAILED, lost_);
  // Controllers end a session after a minute without a command, and then wait in silence.
  if (options_.host && start > lastUsed_ + IDLE) session_.reset();
  lastUsed_ = start;
  if (session_) {
    if (auto answer = session_->Request(command, data, start + options_.timeout / 2)) return *answer;
    session_.reset();
  }
  try {
    Open(start + options_.timeout);
    if (auto answer = session_->Request(command, data, start + options_.timeout)) return *answer;
    session_.reset();
    throw Failure(REQUEST_FAILED, std::string("the controller does not answer ") + command.name);
  } catch (const Failure& failure) {
    lost_ = std::string("the session was lost; ") + failure.what();
    silentUntil_ = Now() + options_.timeout;
    throw Failure(failure.Status(), lost_);
  }
}

}  // namespace standin
