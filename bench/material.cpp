#include <time.h>

#include <random>
#include <string_view>

#include "bench/bench.h"

namespace bench {
namespace {

constexpr uint32_t ENTRIES = 5;
constexpr uint32_t START = 1'077'235'200;  // 20 February
constexpr size_t SPAN = 36UL * 24 * 60 * 60;

constexpr std::array SOURCES = {"sshd[#]:", "kernel:", "CRON[#]:", "systemd[1]:", "postfix/smtp[#]:", "ntpd[#]:"};
constexpr std::array PHRASES = {"Accepted publickey for backup from 10.#.#.# port #",
                                "session opened for user root by (uid=0)",
                                "eth0: link up, 1000 Mbps, full duplex",
                                "Device: /dev/sda, SMART Usage Attribute: # changed from # to #",
                                "(root) CMD (/usr/lib/sa/sa1 1 1)",
                                "status=sent (250 2.0.0 Ok: queued as #)",
                                "synchronized to 10.#.#.#, stratum 2"};

/// Sensor type, event type and event data 1: thresholds, the common discrete sensors, some of a maker's own.
constexpr std::array<std::array<uint8_t, 3>, 20> EVENTS{{
    {0x01, 0x01, 0x57}, {0x01, 0x01, 0x52}, {0x02, 0x01, 0x50}, {0x02, 0x01, 0x59}, {0x04, 0x01, 0x50},
    {0x04, 0x01, 0x52}, {0x01, 0x01, 0x59}, {0x08, 0x6F, 0x01}, {0x0C, 0x6F, 0x20}, {0x0C, 0x6F, 0xA0},
    {0x07, 0x6F, 0x07}, {0x10, 0x6F, 0x02}, {0x12, 0x6F, 0x00}, {0x13, 0x6F, 0x04}, {0x23, 0x6F, 0x01},
    {0x09, 0x6F, 0x00}, {0xC9, 0x6F, 0x03}, {0xD1, 0x6F, 0x00}, {0xD3, 0x70, 0x08}, {0x29, 0x6F, 0x00},
}};

}  // namespace

std::string LogText(size_t lines) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same in every run
  std::string text;
  std::string line;
  const auto append = [&](std::string_view pattern) {
    line += ' ';
    for (const char c : pattern) line += c == '#' ? std::to_string(random() % 250) : std::string(1, c);
  };
  for (size_t i = 0; i < lines; ++i) {
    const auto seconds = static_cast<time_t>(START + i * SPAN / lines);
    std::array<char, 16> date{};
    strftime(date.data(), date.size(), "%b %e %H:%M:%S", gmtime(&seconds));
    line = date.data();
    append("web01");
    append(SOURCES.at(random() % SOURCES.size()));
    const size_t size = 60 + random() % 101;
    while (line.size() < size) append(PHRASES.at(random() % PHRASES.size()));
    line.resize(size - 1);
    text += line + '\n';
  }
  return text;
}

std::vector<SELRecord> EventLog(size_t records) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same in every run
  std::vector<SELRecord> log(records);
  for (size_t i = 0; i < records; ++i) {
    const auto byte = [](size_t value, unsigned int position) { return static_cast<uint8_t>(value >> 8 * position); };
    const size_t time = START + 47 * i;
    const auto& [sensor_type, event_type, data] = EVENTS.at(random() % EVENTS.size());
    const uint8_t sensor = byte(1 + random() % SENSORS, 0);
    log[i] = {byte(i + 1, 0),
              byte(i + 1, 1),
              2,
              byte(time, 0),
              byte(time, 1),
              byte(time, 2),
              byte(time, 3),
              0x20,
              0,
              4,
              sensor_type,
              sensor,
              event_type,
              data,
              byte(random(), 0),
              byte(random(), 0)};
  }
  return log;
}

void Free(Items& items) {
  for (standin::Item& item : items) item.Free();
}

Floor::Floor(const Items& reply) {
  for (size_t i = 0; i < reply.size() * ENTRIES; ++i) {
    const tagCONFIGENTRY& entry = reply[i / ENTRIES].pEntries[i % ENTRIES];
    const tagVARIANT& value = entry.varValue;
    const std::wstring_view text = value.vt == VT_BSTR ? value.value.bstrVal : L"";
    entries_.push_back({entry.dwEntryID, value.vt, value.value.llVal, text_.size(), text.size()});
    for (const wchar_t c : text) text_ += static_cast<char>(c);
  }
}

void Floor::Build(Items& items) const {
  const Entry* next = entries_.data();
  uint32_t index = 0;
  for (tagCONFIGITEM& item : items) {
    item = {++index, LOG_MESSAGES, ENTRIES, new tagCONFIGENTRY[ENTRIES]};
    for (uint32_t j = 0; j < ENTRIES; ++j, ++next) {
      tagCONFIGENTRY& entry = item.pEntries[j];
      entry.dwEntryID = next->id;
      entry.dwAttributes = CE_ATTRIBUTE_READONLY;
      entry.varValue.vt = next->type;
      entry.varValue.value.llVal = next->number;
      if (next->type != VT_BSTR) continue;
      const char* text = text_.data() + next->offset;
      auto* wide = new wchar_t[next->length + 2];  // the strings of a reply have a second zero
      for (size_t k = 0; k < next->length; ++k) wide[k] = static_cast<unsigned char>(text[k]);
      wide[next->length] = wide[next->length + 1] = L'\0';
      entry.varValue.value.bstrVal = wide;
    }
  }
}

}  // namespace bench
