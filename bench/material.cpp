#include "bench/material.h"

#include <time.h>

#include <array>
#include <random>

namespace bench {
namespace {

constexpr uint32_t kSeed = 20010421;
constexpr time_t kStart = 1'077'235'200;  // 20 February; both logs run on into the days with one digit
constexpr time_t kSpan = 36L * 24 * 60 * 60;

constexpr std::array kSources = {
    "sshd[#]:",  "kernel:", "CRON[#]:",   "systemd[1]:", "postfix/smtp[#]:", "dhclient[#]:", "ntpd[#]:",
    "named[#]:", "su[#]:",  "smartd[#]:", "rsyslogd:",   "snmpd[#]:",        "crond[#]:",    "automount[#]:"};
constexpr std::array kPhrases = {"Accepted publickey for backup from 10.#.#.#",
                                 "port # ssh2",
                                 "session opened for user root",
                                 "by (uid=0)",
                                 "connection from UDP: [10.#.#.#]:#",
                                 "eth0: link up, 1000 Mbps, full duplex",
                                 "Device: /dev/sda, SMART Usage Attribute: #",
                                 "changed from # to #",
                                 "(root) CMD (/usr/lib/sa/sa1 1 1)",
                                 "status=sent (250 2.0.0 Ok: queued as #)",
                                 "synchronized to 10.#.#.#, stratum 2",
                                 "DHCPREQUEST on eth0 to 10.#.#.# port 67",
                                 "Started Session # of user root.",
                                 "client 10.#.#.##: query refused"};

/// What the events of a log are: the sensor type, the event type and event data 1.
struct Event {
  uint8_t sensor_type;
  uint8_t event_type;
  uint8_t data;
};
/// Thresholds and the common discrete sensors, some of a maker's own, and one that is in no table.
constexpr std::array<Event, 20> kEvents{{
    {0x01, 0x01, 0x57}, {0x01, 0x01, 0x52}, {0x02, 0x01, 0x50}, {0x02, 0x01, 0x59}, {0x04, 0x01, 0x50},
    {0x04, 0x01, 0x52}, {0x01, 0x01, 0x59}, {0x08, 0x6F, 0x01}, {0x0C, 0x6F, 0x20}, {0x0C, 0x6F, 0xA0},
    {0x07, 0x6F, 0x07}, {0x10, 0x6F, 0x02}, {0x12, 0x6F, 0x00}, {0x13, 0x6F, 0x04}, {0x23, 0x6F, 0x01},
    {0x09, 0x6F, 0x00}, {0xC9, 0x6F, 0x03}, {0xD1, 0x6F, 0x00}, {0xD3, 0x70, 0x08}, {0x29, 0x6F, 0x00},
}};

/// Appends a pattern with a number for each "#".
void AppendFilled(std::string& text, const char* pattern, std::mt19937& random) {
  for (; *pattern != '\0'; ++pattern) {
    if (*pattern == '#') {
      text += std::to_string(random() % 250 + 1);
    } else {
      text += *pattern;
    }
  }
}

}  // namespace

std::string LogText(size_t lines) {
  std::mt19937 random(kSeed);
  std::string text;
  for (size_t i = 0; i < lines; ++i) {
    const time_t seconds = kStart + static_cast<time_t>(i) * kSpan / static_cast<time_t>(lines);
    std::array<char, 24> date{};
    strftime(date.data(), date.size(), "%b %e %H:%M:%S ", gmtime(&seconds));
    const size_t size = 60 + random() % 101;
    std::string line = date.data();
    line += random() % 8 == 0 ? "db02 " : "web01 ";
    AppendFilled(line, kSources.at(random() % kSources.size()), random);
    while (line.size() < size) AppendFilled(line += ' ', kPhrases.at(random() % kPhrases.size()), random);
    line.resize(size - 1, '.');
    text += line + '\n';
  }
  return text;
}

std::vector<SELRecord> EventLog(size_t records) {
  std::mt19937 random(kSeed);
  std::vector<SELRecord> log;
  for (size_t i = 0; i < records; ++i) {
    const auto seconds = static_cast<uint32_t>(static_cast<size_t>(kStart) + i * 47);
    const Event& event = kEvents.at(random() % kEvents.size());
    const auto byte = [](size_t value, unsigned int shift) { return static_cast<uint8_t>(value >> shift); };
    log.push_back({byte(i + 1, 0), byte(i + 1, 8), 0x02, byte(seconds, 0), byte(seconds, 8), byte(seconds, 16),
                   byte(seconds, 24), 0x20, 0x00, 0x04, event.sensor_type, byte(random() % kSensorCount + 1, 0),
                   event.event_type, event.data, byte(random(), 0), byte(random(), 0)});
  }
  return log;
}

}  // namespace bench
