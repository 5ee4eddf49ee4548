/// ipmitransport.cpp: what to make of a controller's answers.
#include "standin/ipmi/ipmitransport.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <thread>

#include "standin/failure.h"

namespace standin {
namespace {

constexpr int TRIES = 10;
constexpr auto PAUSE = std::chrono::milliseconds(100);

struct CompletionName {
  uint8_t completion;
  const char* text;
};

constexpr std::array COMPLETION_NAMES{CompletionName{IPMI_DONE, "done"},
                                      CompletionName{IPMI_NODE_BUSY, "it is busy"},
                                      CompletionName{IPMI_INVALID_COMMAND, "it does not know this command"},
                                      CompletionName{0xC2, "it does not know this command at this logical unit"},
                                      CompletionName{IPMI_TIMEOUT, "it ran out of time"},
                                      CompletionName{0xC4, "it is out of space"},
                                      CompletionName{IPMI_RESERVATION_LOST, "the reservation was lost"},
                                      CompletionName{0xC6, "the request was cut short"},
                                      CompletionName{IPMI_REQUEST_LENGTH, "the request's length is wrong"},
                                      CompletionName{IPMI_FIELD_LENGTH, "a field of the request is too long"},
                                      CompletionName{IPMI_OUT_OF_RANGE, "a parameter is out of range"},
                                      CompletionName{IPMI_TOO_MANY_BYTES, "it cannot return that many bytes"},
                                      CompletionName{IPMI_NOT_PRESENT, "what was asked for is not there"},
                                      CompletionName{0xCC, "a field of the request is invalid"},
                                      CompletionName{0xCD, "the command does not fit this sensor or record"},
                                      CompletionName{0xCE, "it has no response"},
                                      CompletionName{0xCF, "the request is a duplicate"},
                                      CompletionName{IPMI_REPOSITORY_UPDATE, "its sensor records are being updated"},
                                      CompletionName{0xD1, "its firmware is being updated"},
                                      CompletionName{IPMI_INITIALISING, "it is still starting"},
                                      CompletionName{0xD3, "the destination is not to be had"},
                                      CompletionName{IPMI_PRIVILEGE, "the privilege level is too low"},
                                      CompletionName{0xD5, "it cannot do so in its present state"},
                                      CompletionName{0xD6, "this function is disabled"},
                                      CompletionName{IPMI_UNSPECIFIED, "unspecified error"}};

bool IsBusy(uint8_t completion) {
  return completion == IPMI_NODE_BUSY || completion == IPMI_REPOSITORY_UPDATE || completion == IPMI_INITIALISING;
}

}  // namespace

IPMIAnswer AskPatiently(IPMITransport& transport, const IPMICommand& command, const Bytes& data) {
  for (int tries = 1;; ++tries) {
    IPMIAnswer answer = transport.Request(command, data);
    if (!IsBusy(answer.completion) || tries == TRIES) return answer;
    std::this_thread::sleep_for(PAUSE);
  }
}

Bytes RequireData(const IPMICommand& command, IPMIAnswer answer, size_t size) {
  const std::string answers = std::string("the controller answers ") + command.name;
  if (answer.completion != IPMI_DONE) throw Failure(REQUEST_FAILED, answers + ": " + CompletionText(answer.completion));
  if (answer.data.size() < size) {
    throw Failure(REQUEST_FAILED, answers + " with " + std::to_string(answer.data.size()) + " bytes instead of " +
                                      std::to_string(size));
  }
  return std::move(answer.data);
}

std::string CompletionText(uint8_t completion) {
  std::array<char, 32> number{};
  std::snprintf(number.data(), number.size(), " (completion code %02Xh)", completion);
  for (const CompletionName& name : COMPLETION_NAMES) {
    if (name.completion == completion) return name.text + std::string(number.data());
  }
  return (completion >= 0x80 && completion < 0xC0 ? "an error of this command" : "an error of its maker's") +
         std::string(number.data());
}

}  // namespace standin
