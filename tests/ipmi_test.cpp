/// A management controller over IPMI: one that a simulator plays, read by others too, and a faulty one of our own.
extern "C" {
#include <OpenIPMI/ipmi_string.h>
}

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sstream>

#include "standin/capture.h"
#include "standin/failure.h"
#include "standin/ipmiconnection.h"
#include "standin/ipmicontroller.h"
#include "standin/sdr.h"
#include "standin/sdrtext.h"
#include "tests/support/ipmisim.h"

namespace standin {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

/// The sensors' numbers and names, and the notes.
std::string Summary(const Sensors& sensors, const std::vector<std::string>& notes) {
  std::string text;
  for (const Sensor& sensor : sensors) text += std::to_string(sensor.number) + " " + sensor.name + ";";
  for (const std::string& note : notes) text += note.empty() ? "" : " " + note + ";";
  return text;
}

IPMIOptions OptionsFor(const IPMISimulator& simulator) {
  IPMIOptions options;
  options.host = "127.0.0.1";
  options.port = simulator.Port();
  options.user = "reader";
  options.password = "secret";
  options.timeout = 2s;
  return options;
}

/// That of a controller, or why there is none.
std::string Outcome(const std::function<std::unique_ptr<IPMITransport>()>& connect) {
  try {
    const IPMIController controller(connect());
    return Summary(controller.GetSensors(), controller.Notes());
  } catch (const Failure& failure) {
    return std::to_string(failure.Status()) + ": " + failure.what();
  }
}

// ---- The simulator ------------------------------------------------------------------------------------------------

TEST(IPMISimulator, SensorsAndReadings) {
  const struct {
    const char* name;
    Factors factors;
    int raw;
    int64_t value;
    const char* unit;
  } readings[] = {
      {"Plain", {}, 200, 200, "degrees C"},
      {"Two's", {.form = 0x80}, 0xEC, -20, "degrees C"},
      {"One's", {.form = 0x40}, 0xEC, -19, "degrees C"},
      {"Factors", {.unit = 4, .m = -512, .b = 511, .bExp = 2, .rExp = -3}, 10, 46, "V"},
      {"Big", {.unit = 18, .m = 511, .b = -512, .bExp = -8, .rExp = 7}, 1, 5109999949, "RPM"},
      {"Log", {.unit = 6, .function = 2, .m = 100, .rExp = 1}, 100, 5, "W"},
      {"Power of 2", {.unit = 6, .function = 6}, 10, 1024, "W"},
      {"Inverse", {.unit = 6, .function = 7, .rExp = -3}, 4, 250, "W"},
      {"Square", {.unit = 6, .function = 8, .m = 2}, 100, 40000, "W"},
      {"Square root", {.unit = 6, .function = 10, .rExp = 2}, 225, 150, "W"},
      {"Cube root", {.unit = 6, .function = 11}, 216, 6, "W"},
  };
  std::string commands, expected;
  for (const auto& r : readings) {
    const std::string number = std::to_string(&r - readings + 1);
    commands += AddSDR(MakeFull(std::stoi(number), Latin(r.name), r.factors));
    commands.append("sensor_add 0x20 0 ").append(number).append(" 1 1\nsensor_set_value 0x20 0 ").append(number);
    commands.append(" ").append(std::to_string(r.raw)).append(" 0\n");
    expected.append(number).append(" ").append(r.name).append(";");
  }
  commands += AddSDR(MakeCompact(100, Latin("Lid"))) + AddSDR(MakeEventOnly(101, Latin("Watchdog")));
  const IPMISimulator simulator(commands);
  const IPMIController controller(std::make_unique<IPMIConnection>(OptionsFor(simulator)));
  EXPECT_EQ(Summary(controller.GetSensors(), controller.Notes()), expected + "100 Lid;101 Watchdog;");

  std::istringstream others(simulator.Tool("-c sdr list full"));
  for (const auto& r : readings) {
    SCOPED_TRACE(r.name);
    const auto place = static_cast<size_t>(&r - readings);
    const Sensor& sensor = controller.GetSensors().at(place);
    EXPECT_EQ(sensor.hostId, place + 1);
    EXPECT_EQ(sensor.unit, r.unit);
    EXPECT_EQ(ConvertReading(sensor, static_cast<uint8_t>(r.raw)), r.value);
    std::string name, value, rest;
    std::getline(std::getline(std::getline(others, name, ','), value, ','), rest);
    EXPECT_EQ(name, r.name);
    EXPECT_EQ(std::llround(std::atof(value.c_str())), r.value) << value;
  }
  machine::WriteFile("/tmp/sensors.json", DescribeSensors(controller.GetSensors()));
  EXPECT_EQ(ReadSensors("/tmp/sensors.json"), controller.GetSensors());
}

TEST(IPMISimulator, KestruneHostShowsAndSavesALog) {
  const IPMISimulator simulator(AddSDR(MakeFull(1, Latin("CPU Temp"), {})));
  simulator.AddEvent(1);
  const std::string host = std::getenv("KESTRUNE_HOST");
  const std::string live = host + " --ipmi 127.0.0.1:" + std::to_string(simulator.Port()) + " --ipmi-user reader ";
  const std::string shown = OutputOf("IPMI_PASSWORD=secret " + live + "show sel --format csv");
  EXPECT_NE(shown.find("CPU Temp over-temperature: 80 degrees C"), std::string::npos) << shown;
  machine::WriteFile("/tmp/password", "secret\n");
  OutputOf(live + "--ipmi-password-file /tmp/password save --sel /tmp/saved.raw --sensors /tmp/saved.json");
  EXPECT_EQ(OutputOf(host + " --sel /tmp/saved.raw --sensors /tmp/saved.json show sel --format csv"), shown);
  EXPECT_EQ(OutputOf("IPMI_PASSWORD=wrong " + live + "show sel 2>&1; echo $?"),
            "kestrune-host: no session with the controller at 127.0.0.1 port " + std::to_string(simulator.Port()) +
                ": wrong user or password\n1\n");
}

TEST(IPMISimulator, LogsThatChange) {
  const IPMISimulator simulator("");
  IPMIController controller(std::make_unique<IPMIConnection>(OptionsFor(simulator)));
  tagSEL_DATA entry{};
  const auto expectSensors = [&](const std::vector<int>& sensors) {
    EXPECT_EQ(controller.CountEntries(), sensors.size());
    std::string ours;
    entry.wRecordID = 0;
    for (const int sensor : sensors) {
      ASSERT_TRUE(controller.ReadEntry(entry)) << controller.TakeProblem();
      EXPECT_EQ(entry.abyRecord[11], sensor);
      EXPECT_EQ(entry.wRecordID, entry.abyRecord[0] | entry.abyRecord[1] << 8);
      ours.append(entry.abyRecord.begin(), entry.abyRecord.end());
      entry.wRecordID = entry.wNextRecordID;
    }
    EXPECT_EQ(entry.wRecordID, SEL_LAST_ENTRY);
    simulator.Tool("sel writeraw /tmp/theirs");
    EXPECT_EQ(ours, machine::ReadFile("/tmp/theirs"));
    SaveCapture(controller, "/tmp/ours", {}, true, {});
    EXPECT_EQ(ours, machine::ReadFile("/tmp/ours"));
    EXPECT_EQ(simulator.Tool("sel readraw /tmp/ours"), simulator.Tool("sel list"));
  };
  const auto expectGone = [&](uint16_t id) {
    entry = {id, 77, {1}};
    EXPECT_FALSE(controller.ReadEntry(entry));
    EXPECT_EQ(entry.wNextRecordID, 77);
    EXPECT_EQ(controller.TakeProblem(), "");
  };
  EXPECT_EQ(controller.CountEntries(), 0U);
  expectGone(0);
  for (const int sensor : {1, 2, 3}) simulator.AddEvent(sensor);
  expectSensors({1, 2, 3});
  simulator.Tool("sel delete 2");
  expectGone(2);
  expectSensors({1, 3});
  simulator.Tool("sel clear");
  EXPECT_EQ(controller.CountEntries(), 0U);
  expectGone(3);
  const std::vector<int> full = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
  for (const int sensor : full) simulator.AddEvent(sensor);
  expectSensors(full);
}

TEST(IPMISimulator, Logins) {
  const auto expectLogin = [](const IPMIOptions& options, const std::string& outcome) {
    const auto start = std::chrono::steady_clock::now();
    const std::string seen = Outcome([&] { return std::make_unique<IPMIConnection>(options); });
    EXPECT_NE(seen.find(outcome), std::string::npos) << seen << "\nnot " << outcome;
    EXPECT_LT(std::chrono::steady_clock::now() - start, options.timeout + 500ms);
  };
  const struct {
    std::function<void(IPMIOptions&)> change;
    const char* outcome;
  } cases[] = {
      {[](auto&) {}, "1 Lid;"},
      {[](auto& o) { o.password = "wrong"; }, ": wrong user or password"},
      {[](auto& o) { o.user = "nobody"; }, ": wrong user or password"},
      {[](auto& o) { o.privilege = IPMIPrivilege::CALLBACK; }, "privilege level is too low"},
      {[](auto& o) { o.port = FreePort(); }, ": nobody answers"},
      {[](auto& o) { o.host = "no-such-host.invalid"; }, " host 'no-such-host.invalid'"},
      {[](auto& o) { o.user = std::string(17, 'u'); }, "2: the user name is longer than the 16 bytes"},
      {[](auto& o) { o.password = std::string(21, 'p'); }, "2: the password is longer than the 20 bytes"},
      {[](auto& o) { o.host.reset(); }, "1: this machine shows no management controller"},
  };
  const std::string lid = AddSDR(MakeCompact(1, Latin("Lid")));
  {
    const IPMISimulator simulator(lid);
    for (const auto& c : cases) {
      IPMIOptions options = OptionsFor(simulator);
      c.change(options);
      expectLogin(options, c.outcome);
    }
  }
  machine::WriteFile("/dev/ipmi0", "no device");
  EXPECT_EQ(FindIPMIDevice(), "/dev/ipmi0");
  expectLogin({}, "1: /dev/ipmi0 does not work as the device of a management controller: ");
  machine::Remove("/dev/ipmi0");

  const IPMISimulator old(lid, false);
  IPMIOptions options = OptionsFor(old);
  expectLogin(options, ": it does not know RMCP+");
  options.allowIPMI15 = true;
  expectLogin(options, "1 Lid;");
  options.password = "wrong";
  expectLogin(options, "wrong user or password");
}

TEST(IPMISimulator, LostSessions) {
  IPMISimulator simulator("");
  IPMIController controller(std::make_unique<IPMIConnection>(OptionsFor(simulator)));
  EXPECT_EQ(controller.CountEntries(), 0U);
  simulator.Kill();
  simulator.Start();
  simulator.AddEvent(1);
  EXPECT_EQ(controller.CountEntries(), 1U) << "a new session";
  EXPECT_EQ(controller.TakeProblem(), "");

  simulator.Kill();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(controller.CountEntries(), std::nullopt);
  EXPECT_EQ(controller.TakeProblem().substr(0, 62), "the session was lost; no session with the controller at 127.0.");
  tagSEL_DATA entry{};
  for (int i = 0; i < 1000; ++i) EXPECT_FALSE(controller.ReadEntry(entry)) << "at once";
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2500ms);
  simulator.Start();
  std::this_thread::sleep_for(2s);
  EXPECT_EQ(controller.CountEntries(), 0U) << "a controller that is back";
}

// ---- A faulty controller ------------------------------------------------------------------------------------------

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
