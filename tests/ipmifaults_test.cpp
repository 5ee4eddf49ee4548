/// A faulty management controller, and sensor records of every kind.
extern "C" {
#include <OpenIPMI/ipmi_string.h>
}
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "standin/host/capture.h"
#include "standin/ipmi/sdr.h"
#include "standin/ipmi/sdrtext.h"
#include "tests/support/ipmi.h"
#include "tests/support/machine.h"

namespace standin {
namespace {

using namespace std::string_literals;

/// What goes wrong: `times` times, after `after` good answers to this command, it is answered by completion code and
/// data of our own, if any. Before that a sensor is added to the controller or, by -1, taken from it.
struct Fault {
  std::string command;
  int after, times;
  std::vector<int> answer;
  int change = 0;
};
constexpr int ALWAYS = 1 << 20;

/// A controller in memory with the sensors A, B and C and the log entries 5 and 9.
class FakeController : public IPMITransport {
 public:
  explicit FakeController(const Fault& fault, size_t largest = 255) : fault_(fault), largest_(largest) {}

  IPMIAnswer Request(const IPMICommand& command, const Bytes& data) override {
    asked.append(command.name).append(";");
    if (command.name == fault_.command && fault_.after-- <= 0 && fault_.times-- > 0) {
      if (fault_.change > 0) records_.push_back(MakeCompact(4, Latin("D")));
      if (fault_.change < 0) records_.pop_back();
      if (fault_.change != 0) ++changes_;
      const Bytes answer(fault_.answer.begin(), fault_.answer.end());
      if (!answer.empty()) return {answer[0], Bytes(answer.begin() + 1, answer.end())};
    }
    const int count = static_cast<int>(records_.size());
    switch (command.function << 8 | command.command) {
      case 0x0A20:
        return {0, ToBytes({0x51, count, 0, 0, 0, 0, 0, 0, changes_, 0, 0, 0, 0, 2})};
      case 0x0A22:
        return {0, ToBytes({++reservation_, 0})};
      case 0x0A23:
        return GetSDR(std::max<size_t>(1, data.at(2)), data.at(4), data.at(5), data.at(0) == reservation_);
      case 0x0A40:
        return {0, ToBytes({0x51, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2})};
    }
    if (data.at(2) != 0 && data[2] != 5 && data[2] != 9) return {0xCB, {}};
    IPMIAnswer answer{0, data[2] == 9 ? ToBytes({0xFF, 0xFF, 9}) : ToBytes({9, 0, 5})};
    answer.data.resize(18);
    return answer;
  }

  std::string asked;

 private:
  IPMIAnswer GetSDR(size_t id, size_t offset, size_t size, bool reserved) const {
    if (id > records_.size()) return {0xCB, {}};
    if (offset != 0 && !reserved) return {0xC5, {}};
    const Bytes& record = records_[id - 1];
    const size_t end = size == 255 ? record.size() : offset + size;
    if (end > record.size()) return {0xC9, {}};
    if (end - offset > largest_) return {0xCA, {}};
    IPMIAnswer answer{0, id == records_.size() ? ToBytes({0xFF, 0xFF}) : ToBytes({static_cast<int>(id) + 1, 0})};
    for (size_t i = offset; i < end; ++i) answer.data.push_back(record[i]);
    return answer;
  }

  Fault fault_;
  size_t largest_;
  std::vector<Bytes> records_{MakeCompact(1, Latin("A")), MakeEventOnly(2, Latin("B")), MakeFull(3, Latin("C"), {})};
  int changes_ = 0, reservation_ = 0;
};

TEST(IPMIFaults, SensorRepository) {
  const std::string all = "1 A;2 B;3 C;", answers = "1: the controller answers Get SDR";
  const std::pair<Fault, std::string> cases[] = {
      {{"Reserve SDR Repository", 0, ALWAYS, {0xC1}}, all},
      {{"Get SDR", 1, 2, {0xC0}}, all},  // busy
      {{"Get SDR", 1, 2, {0xC5}}, all},  // reservation lost
      {{"Get SDR", 0, 1, {0xFF}}, all},  // no better word for "too many bytes"
      {{"Get SDR", 2, 1, {}, 1}, all + "4 D;"},
      {{"Get SDR", 2, 1, {}, -1}, "1 A;2 B;"},
      {{"Get SDR", 2, 1, {0, 0xFF, 0xFF, 3, 0, 0x51, 1, 50}, 1}, all + "4 D;"},  // half of a record
      {{"Get SDR", 1, 1, {0, 3, 0}}, "1 A;3 C; sensor record 2 is not whole and left out;"},
      {{"Get SDR Repository Info", 0, 1, {0xC1}}, " the controller has no repository of sensor records;"},
      {{"Get SDR", 0, ALWAYS, {0xC5}}, answers + ": the reservation was lost (completion code C5h)"},
      {{"Get SDR", 0, ALWAYS, {0xCA}}, answers + ": it cannot return that many bytes (completion code CAh)"},
      {{"Get SDR", 0, ALWAYS, {0xD4}}, answers + ": the privilege level is too low (completion code D4h)"},
      {{"Get SDR", 2, ALWAYS, {1}}, answers + ": an error of its maker's (completion code 01h)"},
      {{"Get SDR", 2, ALWAYS, {0, 1}}, answers + " with 1 bytes instead of 2"},
      {{"Get SDR Repository Info", 0, 1, {0, 1, 2}}, answers + " Repository Info with 2 bytes instead of 14"},
      {{"Get SDR", 0, ALWAYS, {0, 7, 0}},
       "1: the controller's sensor records changed, or their chain broke, each time they were read"},
  };
  for (const auto& [fault, outcome] : cases) {
    EXPECT_EQ(Outcome([&, &fault = fault] { return std::make_unique<FakeController>(fault); }), outcome);
  }
  for (const size_t largest : {40U, 32U, 10U, 8U}) {
    EXPECT_EQ(Outcome([&] { return std::make_unique<FakeController>(Fault{}, largest); }), all) << largest;
  }
}

TEST(IPMIFaults, SensorRecords) {
  const auto encode = [](const char* text) {  // in the densest of the encodings that can
    std::string encoded(32, '\0');
    unsigned size = 32;
    ipmi_set_device_string(text, IPMI_ASCII_STR, static_cast<unsigned>(std::strlen(text)),
                           reinterpret_cast<unsigned char*>(encoded.data()), 0, &size);
    return encoded.substr(0, size);
  };
  EXPECT_EQ(encode("FAN 1/2")[0] & 0xC0, 0x80);
  EXPECT_EQ(encode("12-3.4,5_")[0] & 0xC0, 0x40);
  const std::string unicode("\x04\xAC\x20\x2E\x20\x3D\xD8\x00\xDE", 9);
  const std::string title = " sensor 09h 'x' ", others = title + "is another controller's (owner ";
  const std::pair<Bytes, std::string> cases[] = {
      {MakeCompact(1, encode("FAN 1/2")), "1 FAN 1/2;"},
      {MakeCompact(1, encode("12-3.4,5_")), "1 12-3.4,5_;"},
      {MakeCompact(1, "\x84\x29\xDC\xA6"), "1 IPMI;"},
      {MakeCompact(1, unicode), "1 \u20AC\U0001F600;"},
      {MakeCompact(1, Latin("caf\xE9\x9B\x1B[2J \n ")), "1 caf\u00E9[2J;"},
      {MakeCompact(1, Latin("NUL\0ends"s)), "1 NUL;"},
      {MakeCompact(0x1C, Latin("")), "28 sensor 1Ch;"},
      {MakeCompact(7, "\xDFlonger than it is"), "7 longer than it is;"},
      {MakeCompact(5, Latin("Temp "), 3, 9), "5 Temp 9;6 Temp 10;7 Temp 11;"},
      {MakeEventOnly(5, Latin("Fan"), 0x12, 25), "5 Fan Z;6 Fan AA;"},
      {MakeCompact(254, Latin("x"), 15), "254 x 0;255 x 1;"},
      {MakeFull(9, Latin("x"), {.form = 0xC0, .function = 0x70}), "9 x;"},  // without readings
      {MakeFull(9, Latin("x"), {.function = 0x70}),
       "9 x;" + title + "has readings by a function that its record does not tell; they are shown raw;"},
      {MakeFull(9, Latin("x"), {}, 0x28), others + "28h, logical unit 0) and left out;"},
      {MakeFull(9, Latin("x"), {}, 0x20, 1), others + "20h, logical unit 1) and left out;"},
      {MakeSDR(1, 9, {}, ""), " sensor record 00h is too short and left out;"},
      {MakeSDR(0x12, 9, Bytes(40), ""), ""},
      {{1, 2, 3}, ""},
  };
  for (const auto& [record, summary] : cases) {
    const SDRContents contents = DecodeSDR(record);
    EXPECT_EQ(Summary(contents.sensors, {contents.note}), summary);
  }
  EXPECT_EQ(UnitText(0x01, 0, 0), "%");
  EXPECT_EQ(UnitText(0x1A, 66, 1), "bits/degrees C/s");
  EXPECT_EQ(UnitText(0x04, 92, 5), "g x A");

  srandom(1);
  for (int i = 0; i < 20000; ++i) {  // garbage of any length, more often than not of a kind that leads it deeper
    Bytes garbage(static_cast<size_t>(random() % 70));
    for (uint8_t& byte : garbage) byte = static_cast<uint8_t>(random());
    if (garbage.size() > 6 && i % 4 != 0) garbage[3] = static_cast<uint8_t>(1 + i % 3);
    if (garbage.size() > 6 && i % 5 != 0) garbage[5] = 0x20, garbage[6] = 0;
    for (const Sensor& sensor : DecodeSDR(garbage).sensors) {
      EXPECT_NE(sensor.name, "");
      ConvertReading(sensor, static_cast<uint8_t>(i));
      DescribeSensors({sensor});  // throws for what is not UTF-8
    }
  }
}

TEST(IPMIFaults, EventLog) {
  const std::string answers = "the controller answers Get SEL ";
  std::vector<int> another(19), cut(18);
  another[3] = 9;
  const struct {
    int id;
    std::vector<int> answer;  // empty: the good one
    bool good;
    std::string problem;
  } cases[] = {
      {0, {}, true, ""},
      {9, {}, true, ""},
      {6, {}, false, ""},
      {5, another, false, ""},
      {0, another, true, ""},
      {9, cut, false, answers + "Entry with 17 bytes instead of 18"},
      {9, {0xD4}, false, answers + "Entry: the privilege level is too low (completion code D4h)"},
  };
  for (const auto& c : cases) {
    auto transport = std::make_unique<FakeController>(Fault{"Get SEL Entry", 0, ALWAYS, c.answer});
    std::string& asked = transport->asked;
    IPMIController controller(std::move(transport));
    asked.clear();
    tagSEL_DATA entry{static_cast<uint16_t>(c.id), 77, {1}};
    EXPECT_EQ(controller.ReadEntry(entry), c.good) << c.id;
    EXPECT_EQ(entry.wNextRecordID != 77, c.good);
    EXPECT_EQ(controller.TakeProblem(), c.problem);
    EXPECT_EQ(controller.CountEntries(), 2U);
    EXPECT_EQ(asked, "Get SEL Entry;Get SEL Info;") << "an unchanged log costs one command";
  }
  IPMIController controller(std::make_unique<FakeController>(Fault{"Get SEL Info", 1, ALWAYS, {0, 0x51}}));
  EXPECT_EQ(controller.CountEntries(), std::nullopt);
  EXPECT_EQ(controller.TakeProblem(), answers + "Info with 1 bytes instead of 14");
  EXPECT_EQ(Outcome([] {
              return std::make_unique<FakeController>(Fault{"Get SEL Info", 0, 1, {0xC1}});
            }),
            "1: " + answers + "Info: it does not know this command (completion code C1h)");
}

TEST(IPMIFaults, Captures) {
  const std::string sel = "/tmp/capture/sel.raw", sensors = "/tmp/capture/sensors.json";
  const auto save = [&](const Fault& fault, bool overwrite) -> std::string {
    IPMIController controller(std::make_unique<FakeController>(fault));
    try {
      SaveCapture(controller, sel, sensors, overwrite, {});
      return "saved";
    } catch (const Failure& failure) {
      return failure.what();
    }
  };
  std::string log(32, '\0');
  log[0] = 5;
  log[16] = 9;
  const std::string cannot = "cannot write '" + sel + "': ", answers = "the controller answers Get SEL Entry: ";
  EXPECT_EQ(save({}, false), cannot + "No such file or directory");
  machine::PlantFolder("/tmp/capture");
  EXPECT_EQ(save({"Get SEL Entry", 1, ALWAYS, {0xD4}}, false),
            answers + "the privilege level is too low (completion code D4h)");
  EXPECT_EQ(save({"Get SEL Entry", 1, ALWAYS, {0xCB}}, false),
            "the controller's log changed, or its chain broke, each time it was read");
  EXPECT_EQ(machine::Listing("/tmp/capture"), std::set<std::string>());
  machine::WriteFile(sensors, "mine");
  EXPECT_EQ(save({}, false), "'" + sensors + "' exists; --force overwrites it");
  EXPECT_EQ(machine::ReadFile(sensors), "mine");
  EXPECT_EQ(machine::Listing("/tmp/capture"), std::set<std::string>{"sensors.json"});
  EXPECT_EQ(save({"Get SEL Entry", 1, 1, {0xCB}}, true), "saved") << "the log changed once";
  EXPECT_EQ(machine::ReadFile(sel), log);
  EXPECT_EQ(ReadSensors(sensors).size(), 3U);
  EXPECT_EQ(machine::Listing("/tmp/capture"), (std::set<std::string>{"sel.raw", "sensors.json"}));
  for (const std::string& path : {sel, sensors}) {
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
  }
  machine::PlantLink(sel, "/tmp/elsewhere");
  EXPECT_EQ(save({}, true), "'" + sel + "' is no file that could be overwritten");
}

}  // namespace
}  // namespace standin
