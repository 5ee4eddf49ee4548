#include "standin/ipmi/ipmilogin.h"

#include <OpenIPMI/ipmi_err.h>
#include <netdb.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <future>
#include <thread>
#include <utility>

#include "standin/failure.h"

namespace standin {
namespace {

struct Lookup {
  int error = 0;
  std::vector<std::string> addresses;
};

Lookup LookUp(const std::string& host) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo* found = nullptr;
  Lookup result;
  for (const int flags : {AI_NUMERICHOST, AI_ADDRCONFIG}) {  // addresses are taken also without a network
    hints.ai_flags = flags;
    result.error = getaddrinfo(host.c_str(), nullptr, &hints, &found);
    if (result.error == 0) break;
  }
  for (const addrinfo* each = found; each != nullptr && result.error == 0; each = each->ai_next) {
    std::array<char, NI_MAXHOST> address{};
    result.error =
        getnameinfo(each->ai_addr, each->ai_addrlen, address.data(), address.size(), nullptr, 0, NI_NUMERICHOST);
    result.addresses.emplace_back(address.data());
  }
  if (found != nullptr) freeaddrinfo(found);
  return result;
}

std::string Numbered(const char* text, const char* what, int number) {
  std::array<char, 32> suffix{};
  std::snprintf(suffix.data(), suffix.size(), " (%s %02Xh)", what, static_cast<unsigned>(number));
  return text + std::string(suffix.data());
}

constexpr const char* WRONG_USER = "wrong user or password";
constexpr const char* LOW_PRIVILEGE = "this user's privilege level is too low, or the one asked for is not to be had";

/// The controller's own answer in the middle of a login: a completion code.
std::string CompletionProblem(IPMIProtocol protocol, uint8_t completion) {
  const bool plus = protocol == IPMIProtocol::RMCP_PLUS;
  if (completion == 0x80 || completion == 0x86 || completion == IPMI_PRIVILEGE || (plus && completion == 0x81)) {
    return Numbered(LOW_PRIVILEGE, "completion code", completion);
  }
  if (completion == 0x81 || completion == 0x82) {
    return Numbered("wrong user, or no session is left", "completion code", completion);
  }
  return "at login " + CompletionText(completion);
}

/// A status of the session set-up of RMCP+.
std::string StatusProblem(int status) {
  switch (status) {
    case IPMI_RMCPP_INSUFFICIENT_RESOURCES_FOR_SESSION:
    case IPMI_RMCPP_INSUFFICIENT_RESOURCES_FOR_ROLE:
      return "it has no session left; try again later";
    case IPMI_RMCPP_INVALID_ROLE:
    case IPMI_RMCPP_UNAUTHORIZED_ROLE_OR_PRIVILEGE:
      return LOW_PRIVILEGE;
    case IPMI_RMCPP_INVALID_NAME_LENGTH:
    case IPMI_RMCPP_UNAUTHORIZED_NAME:
    case IPMI_RMCPP_INVALID_INTEGRITY_CHECK_VALUE:
      return WRONG_USER;
    case IPMI_RMCPP_INVALID_AUTHENTICATION_ALGORITHM:
    case IPMI_RMCPP_INVALID_INTEGRITY_ALGORITHM:
    case IPMI_RMCPP_INVALID_CONFIDENTIALITY_ALGORITHM:
    case IPMI_RMCPP_NO_CIPHER_SUITE_MATCHES:
      return "it does not offer cipher suite 3, the one that this program knows";
    default:
      return Numbered("it refuses the session", "RMCP+ status", status);
  }
}

bool IsTimeout(const IPMILoginError& error) {
  return error.error == ETIMEDOUT || error.error == static_cast<int>(IPMI_IPMI_ERR_VAL(IPMI_TIMEOUT));
}

}  // namespace

std::vector<std::string> ResolveHost(const std::string& host, Deadline deadline) {
  // The name service has time limits of its own, longer ones. A thread that waits for it is left behind.
  std::promise<Lookup> promise;
  std::future<Lookup> future = promise.get_future();
  std::thread([host, promise = std::move(promise)]() mutable { promise.set_value(LookUp(host)); }).detach();
  if (future.wait_until(deadline) != std::future_status::ready) {
    throw Failure(REQUEST_FAILED, "the name service does not tell in time what host '" + host + "' is");
  }
  Lookup lookup = future.get();
  if (lookup.error == EAI_NONAME || lookup.error == EAI_NODATA) {
    throw Failure(REQUEST_FAILED, "there is no host '" + host + "'");
  }
  if (lookup.error != 0) {
    throw Failure(REQUEST_FAILED, "no address of host '" + host + "': " + gai_strerror(lookup.error));
  }
  return std::move(lookup.addresses);
}

bool LacksRMCPPlus(const IPMILoginError& error) { return error.error == ENOENT && error.answered; }

std::string LoginErrorText(IPMIProtocol protocol, const IPMILoginError& error) {
  const bool local = protocol == IPMIProtocol::LOCAL;
  if (local ? IsTimeout(error) : !error.answered) return "nobody answers";
  if (IsTimeout(error)) return "it stopped answering at login (wrong user or password, or the network loses packets)";
  if (LacksRMCPPlus(error)) return "it does not know RMCP+ (IPMI 2.0); --ipmi-fallback allows a login by IPMI 1.5";
  // The library says so when the controller's proof that it knows the password does not hold.
  if (protocol == IPMIProtocol::RMCP_PLUS && error.error == EINVAL) return WRONG_USER;
  if (protocol == IPMIProtocol::V1_5 && error.error == EINVAL) return "it allows no login with MD5";
  if (IPMI_IS_RMCPP_ERR(error.error)) return StatusProblem(IPMI_GET_RMCPP_ERR(error.error));
  if (IPMI_IS_IPMI_ERR(error.error)) {
    return CompletionProblem(protocol, static_cast<uint8_t>(IPMI_GET_IPMI_ERR(error.error)));
  }
  return std::strerror(IPMI_GET_OS_ERR(error.error));
}

}  // namespace standin
