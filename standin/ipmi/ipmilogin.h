/// ipmilogin.h: why a management controller could not be reached, in words.
#ifndef KESTRUNE_STANDIN_IPMI_IPMILOGIN_H_
#define KESTRUNE_STANDIN_IPMI_IPMILOGIN_H_

#include <string>
#include <vector>

#include "standin/ipmi/openipmi.h"

namespace standin {

/// The numeric addresses of a host, at least one. Throws Failure, before the deadline.
std::vector<std::string> ResolveHost(const std::string& host, Deadline deadline);

/// Whether a login failed because the controller does not know RMCP+.
bool LacksRMCPPlus(const IPMILoginError& error);

/// What is wrong, for the sentence "no session with the controller at ...: ".
std::string LoginErrorText(IPMIProtocol protocol, const IPMILoginError& error);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_IPMI_IPMILOGIN_H_
