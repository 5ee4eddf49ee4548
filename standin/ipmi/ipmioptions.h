/// ipmioptions.h: which management controller to talk to, and how.
#ifndef KESTRUNE_STANDIN_IPMI_IPMIOPTIONS_H_
#define KESTRUNE_STANDIN_IPMI_IPMIOPTIONS_H_

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace standin {

inline constexpr uint16_t IPMI_PORT = 623;

/// Numbered as in IPMI.
enum class IPMIPrivilege : uint8_t { CALLBACK = 1, USER, OPERATOR, ADMINISTRATOR };

struct IPMIOptions {
  std::optional<std::string> host;  ///< name or address; none: this machine's own controller
  uint16_t port = IPMI_PORT;
  std::string user;
  std::string password;
  IPMIPrivilege privilege = IPMIPrivilege::USER;  ///< enough to read
  std::chrono::milliseconds timeout{10000};       ///< for each answer, with all that may be needed to get it
  bool allowIPMI15 = false;                       ///< where the controller lacks RMCP+, log in by IPMI 1.5 with MD5
};

}  // namespace standin

#endif  // KESTRUNE_STANDIN_IPMI_IPMIOPTIONS_H_
