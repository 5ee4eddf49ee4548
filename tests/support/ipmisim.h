/// ipmisim.h: management controllers played by Debian's ipmi_sim.
#ifndef KESTRUNE_TESTS_SUPPORT_IPMISIM_H_
#define KESTRUNE_TESTS_SUPPORT_IPMISIM_H_

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>

#include "tests/support/machine.h"

/// What a command prints. It must end well.
inline std::string OutputOf(const std::string& command) {
  FILE* pipe = popen((command + " 2>/tmp/run-errors").c_str(), "r");
  std::string output(1 << 20, '\0');
  output.resize(fread(output.data(), 1, output.size(), pipe));
  EXPECT_EQ(pclose(pipe), 0) << command << "\n" << output << machine::ReadFile("/tmp/run-errors");
  return output;
}

/// A loopback port that nobody listens on: `port`, or any for 0. Answers 0 when it is taken.
inline uint16_t FreePort(uint16_t port = 0) {
  const int tried = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t size = sizeof(address);
  const bool isFree = bind(tried, reinterpret_cast<sockaddr*>(&address), size) == 0;
  getsockname(tried, reinterpret_cast<sockaddr*>(&address), &size);
  close(tried);
  return isFree ? ntohs(address.sin_port) : uint16_t{0};
}

/// A controller on a loopback port of its own, with the users reader/secret (privilege: user) and boss/mighty
/// (administrator), and an empty event log of at most `entries`. The simulator's own `commands` add to that.
class IPMISimulator {
 public:
  explicit IPMISimulator(const std::string& commands, bool knowsRmcpPlus = true, int entries = 12) {
    const std::string any = " none md2 md5 straight\n";
    const std::string guid = knowsRmcpPlus ? "guid a123456789abcdefa123456789abcdef\n" : "";
    machine::WriteFile("/tmp/sim/lan.conf", "name \"test\"\nset_working_mc 0x20\nstartlan 1\naddr 127.0.0.1 " +
                                                std::to_string(port_) + "\npriv_limit admin\nallowed_auths_user" + any +
                                                "allowed_auths_admin" + any + guid + "endlan\n" +
                                                "user 2 true \"reader\" \"secret\" user 10" + any +
                                                "user 3 true \"boss\" \"mighty\" admin 10" + any);
    machine::WriteFile("/tmp/sim/commands",
                       "mc_setbmc 0x20\nmc_add 0x20 0 no-device-sdrs 0x23 9 8 0x9f 0x1291 0xf02\n"
                       "sel_enable 0x20 " +
                           std::to_string(entries) + " 0x0a\nmc_enable 0x20\n" + commands);
    Start();
  }
  ~IPMISimulator() { Kill(); }
  IPMISimulator(const IPMISimulator&) = delete;
  IPMISimulator& operator=(const IPMISimulator&) = delete;

  /// Starts it as it was at first, also after Kill.
  void Start() {
    machine::PlantFolder("/tmp/sim/state");
    process_ = fork();
    if (process_ == 0) {
      for (const int descriptor : {0, 1, 2}) dup2(open("/dev/null", O_RDWR), descriptor);
      execlp("ipmi_sim", "ipmi_sim", "-n", "-c", "/tmp/sim/lan.conf", "-f", "/tmp/sim/commands", "-s", "/tmp/sim/state",
             nullptr);
      _exit(127);
    }
    for (int i = 0; i < 250 && FreePort(port_) != 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(FreePort(port_), 0) << "ipmi_sim does not listen";
  }
  void Kill() {
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = 0;
  }

  uint16_t Port() const { return port_; }
  /// What ipmitool prints, as administrator.
  std::string Tool(const std::string& arguments) const {
    return OutputOf("ipmitool -I lanplus -C 3 -H 127.0.0.1 -p " + std::to_string(port_) + " -U boss -P mighty " +
                    arguments);
  }
  /// Adds a threshold event of a sensor to the log.
  void AddEvent(int sensor) const {
    Tool("raw 0x0a 0x44 0 0 2 0 0 0 0 0x20 0 4 1 " + std::to_string(sensor) + " 1 0x57 80 75");
  }

 private:
  uint16_t port_ = FreePort();
  pid_t process_ = 0;
};

#endif  // KESTRUNE_TESTS_SUPPORT_IPMISIM_H_
