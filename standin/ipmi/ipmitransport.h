/// ipmitransport.h: the narrow way to a management controller on which all that is read from it is built: one command,
/// one answer.
#ifndef KESTRUNE_STANDIN_IPMI_IPMITRANSPORT_H_
#define KESTRUNE_STANDIN_IPMI_IPMITRANSPORT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace standin {

using Bytes = std::vector<uint8_t>;

struct IPMICommand {
  uint8_t function;  ///< network function
  uint8_t command;
  const char* name;
};

/// Completion codes that are no more than an answer to what was asked.
enum : uint8_t {
  IPMI_DONE = 0x00,
  IPMI_NODE_BUSY = 0xC0,
  IPMI_INVALID_COMMAND = 0xC1,
  IPMI_TIMEOUT = 0xC3,
  IPMI_RESERVATION_LOST = 0xC5,
  IPMI_REQUEST_LENGTH = 0xC7,
  IPMI_FIELD_LENGTH = 0xC8,
  IPMI_OUT_OF_RANGE = 0xC9,
  IPMI_TOO_MANY_BYTES = 0xCA,
  IPMI_NOT_PRESENT = 0xCB,
  IPMI_REPOSITORY_UPDATE = 0xD0,
  IPMI_INITIALISING = 0xD2,
  IPMI_PRIVILEGE = 0xD4,
  IPMI_UNSPECIFIED = 0xFF
};

struct IPMIAnswer {
  uint8_t completion = IPMI_DONE;
  Bytes data;  ///< what follows the completion code
};

class IPMITransport {
 public:
  IPMITransport() = default;
  IPMITransport(const IPMITransport&) = delete;
  IPMITransport& operator=(const IPMITransport&) = delete;
  virtual ~IPMITransport() = default;

  /// Sends one command to the controller and waits for the answer. Throws Failure when none comes.
  virtual IPMIAnswer Request(const IPMICommand& command, const Bytes& data) = 0;
};

/// Like Request; a controller that is busy is asked again, for about a second.
IPMIAnswer AskPatiently(IPMITransport& transport, const IPMICommand& command, const Bytes& data);

/// The data of an answer that must be good and at least `size` bytes long. Throws Failure in words when it is not.
Bytes RequireData(const IPMICommand& command, IPMIAnswer answer, size_t size);

/// A completion code in words, with its number.
std::string CompletionText(uint8_t completion);

/// The number whose least significant byte is at `place`.
inline uint16_t ReadWord(const Bytes& data, size_t place) {
  return static_cast<uint16_t>(data.at(place) | data.at(place + 1) << 8);
}

}  // namespace standin

#endif  // KESTRUNE_STANDIN_IPMI_IPMITRANSPORT_H_
