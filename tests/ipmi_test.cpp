/// A management controller over IPMI: one that a simulator plays, read by others too, and a faulty one of our own.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sstream>
#include <thread>

extern "C" {
#include <OpenIPMI/ipmi_string.h>
}

#include "standin/failure.h"
#include "standin/ipmiconnection.h"
#include "standin/ipmicontroller.h"
#include "standin/sdr.h"
#include "standin/sdrtext.h"
#include "tests/support/machine.h"

namespace {

using namespace standin;
using namespace std::chrono_literals;
using namespace std::string_literals;
using Names = std::vector<std::string>;

// ---- Sensor records, written by the standard's tables
// ----------------------------------------------------------------

std::string Latin(const std::string& text) { return static_cast<char>(0xC0 | text.size()) + text; }

Bytes MakeSDR(int type, int number, Bytes body, const std::string& name, int owner = 0x20, int lun = 0) {
  Bytes record = {0,
                  0,
                  0x51,
                  static_cast<uint8_t>(type),
                  0,
                  static_cast<uint8_t>(owner),
                  static_cast<uint8_t>(lun),
                  static_cast<uint8_t>(number),
                  7,
                  1};
  std::copy(body.begin(), body.end(), std::back_inserter(record));
  std::copy(name.begin(), name.end(), std::back_inserter(record));
  record[4] = static_cast<uint8_t>(record.size() - 5);
  return record;
}

struct Factors {
  int form = 0, unit = 1, function = 0, m = 1, b = 0, b_exp = 0, r_exp = 0;
};

Bytes MakeFull(int number, const std::string& name, const Factors& f, int owner = 0x20, int lun = 0) {
  Bytes body = {0x67, 0x68, 1, 1, 0, 0, 0, 0, 0, 0};
  for (const int byte : {f.form, f.unit, 0, f.function, f.m & 0xFF, f.m >> 2 & 0xC0, f.b & 0xFF, f.b >> 2 & 0xC0, 0,
                         (f.r_exp & 0xF) << 4 | (f.b_exp & 0xF)}) {
    body.push_back(static_cast<uint8_t>(byte));
  }
  body.resize(37);  // nominal reading, thresholds, hysteresis
  return MakeSDR(1, number, body, name, owner, lun);
}

Bytes MakeCompact(int number, const std::string& name, int sharing = 0, int offset = 0) {
  Bytes body(21);
  body[2] = 7;
  body[3] = 0x6F;
  body[13] = static_cast<uint8_t>(sharing);
  body[14] = static_cast<uint8_t>(offset);
  return MakeSDR(2, number, body, name);
}

Bytes MakeEventOnly(int number, const std::string& name, int sharing = 0, int offset = 0) {
  return MakeSDR(3, number, {7, 0x6F, static_cast<uint8_t>(sharing), static_cast<uint8_t>(offset), 0, 0}, name);
}

Names NamesOf(const Sensors& sensors) {
  Names names;
  for (const Sensor& sensor : sensors) names.push_back(std::to_string(sensor.number) + " " + sensor.name);
  return names;
}

// ---- The simulator
// ---------------------------------------------------------------------------------------------------

/// What a command prints. It must end well.
std::string OutputOf(const std::string& command) {
  FILE* pipe = popen((command + " 2>/tmp/run-errors").c_str(), "r");
  std::string output(1 << 20, '\0');
  output.resize(fread(output.data(), 1, output.size(), pipe));
  EXPECT_EQ(pclose(pipe), 0) << command << "\n" << output << machine::ReadFile("/tmp/run-errors");
  return output;
}

std::string Words(const Bytes& bytes) {
  std::string text;
  for (const uint8_t byte : bytes) text += " " + std::to_string(byte);
  return text;
}

/// A loopback port that nobody listens on: this one, or any for 0. 0 when it is taken.
uint16_t FreePort(uint16_t port) {
  const int tried = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  socklen_t size = sizeof(address);
  const bool is_free = bind(tried, reinterpret_cast<sockaddr*>(&address), size) == 0;
  getsockname(tried, reinterpret_cast<sockaddr*>(&address), &size);
  close(tried);
  return is_free ? ntohs(address.sin_port) : uint16_t{0};
}

/// ipmi_sim on a loopback port of its own, with the users reader/secret (user) and boss/mighty (administrator).
class Simulator {
 public:
  explicit Simulator(const std::string& commands, bool plus = true) {
    options_.host = "127.0.0.1";
    options_.port = FreePort(0);
    options_.user = "reader";
    options_.password = "secret";
    options_.timeout = 2s;

    const std::string allowed = " none md2 md5 straight\n";
    machine::WriteFile("/tmp/sim/lan.conf",
                       "name \"test\"\n"s + "set_working_mc 0x20\nstartlan 1\naddr 127.0.0.1 " +
                           std::to_string(options_.port) + "\npriv_limit admin\nallowed_auths_user" + allowed +
                           "allowed_auths_admin" + allowed + (plus ? "guid a123456789abcdefa123456789abcdef\n" : "") +
                           "endlan\n" + "user 2 true \"reader\" \"secret\" user 10" + allowed +
                           "user 3 true \"boss\" \"mighty\" admin 10" + allowed);
    machine::WriteFile("/tmp/sim/commands",
                       "mc_setbmc 0x20\nmc_add 0x20 0 no-device-sdrs 0x23 9 8 0x9f 0x1291 0xf02\n"
                       "sel_enable 0x20 12 0x0a\nmc_enable 0x20\n" +
                           commands);
    Start();
  }
  ~Simulator() { Kill(); }
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  void Start() {
    std::filesystem::remove_all("/tmp/sim/state");
    std::filesystem::create_directories("/tmp/sim/state");
    process_ = fork();
    if (process_ == 0) {
      for (const int fd : {0, 1, 2}) dup2(open("/dev/null", O_RDWR), fd);
      execlp("ipmi_sim", "ipmi_sim", "-n", "-c", "/tmp/sim/lan.conf", "-f", "/tmp/sim/commands", "-s", "/tmp/sim/state",
             nullptr);
      _exit(127);
    }
    for (int tries = 0; tries < 250 && FreePort(options_.port) != 0; ++tries) std::this_thread::sleep_for(20ms);
    EXPECT_EQ(FreePort(options_.port), 0) << "the simulator does not listen";
  }
  void Kill() {
    if (process_ > 0) kill(process_, SIGKILL);
    if (process_ > 0) waitpid(process_, nullptr, 0);
    process_ = 0;
  }

  IPMIOptions options() const { return options_; }
  std::string Tool() const {
    return "ipmitool -I lanplus -C 3 -H 127.0.0.1 -p " + std::to_string(options_.port) + " -U boss -P mighty ";
  }
  /// Adds a record of the sensor `number` to the log.
  void AddEvent(int number) const {
    OutputOf(Tool() + "raw 0x0a 0x44 0 0 2 0 0 0 0 0x20 0 4 1 " + std::to_string(number) + " 1 0x57 80 75");
  }

 private:
  IPMIOptions options_;
  pid_t process_ = 0;
};

/// The raw records of the whole log, and the IDs that they were read by.
std::string ReadLog(IPMIController& controller) {
  std::string raw;
  tagSEL_DATA entry{};
  const uint32_t count = controller.CountEntries().value_or(0);
  for (uint32_t i = 0; i < count; ++i) {
    EXPECT_TRUE(controller.ReadEntry(entry)) << controller.problem();
    EXPECT_EQ(entry.wRecordID, entry.abyRecord[0] | entry.abyRecord[1] << 8);
    EXPECT_EQ(entry.wNextRecordID == SEL_LAST_ENTRY, i + 1 == count);
    raw.append(entry.abyRecord.begin(), entry.abyRecord.end());
    entry.wRecordID = entry.wNextRecordID;
  }
  return raw;
}

struct Reading {
  const char* name;
  Factors factors;
  int raw;
  int64_t value;
  const char* unit;
};

TEST(IPMISimulator, SensorsAndReadings) {
  const Reading readings[] = {
      {"Plain", {}, 200, 200, "degrees C"},
      {"Two's", {.form = 0x80}, 0xEC, -20, "degrees C"},
      {"One's", {.form = 0x40}, 0xEC, -19, "degrees C"},
      {"Factors", {.unit = 4, .m = -512, .b = 511, .b_exp = 2, .r_exp = -3}, 10, 46, "V"},
      {"Big", {.unit = 18, .m = 511, .b = -512, .b_exp = -8, .r_exp = 7}, 1, 5109999949, "RPM"},
      {"Log", {.unit = 6, .function = 2, .m = 100, .r_exp = 1}, 100, 5, "W"},
      {"Power of 2", {.unit = 6, .function = 6, .m = 1}, 10, 1024, "W"},
      {"Inverse", {.unit = 6, .function = 7, .r_exp = -3}, 4, 250, "W"},
      {"Square", {.unit = 6, .function = 8, .m = 2}, 100, 40000, "W"},
      {"Square root", {.unit = 6, .function = 10, .m = 1, .r_exp = 2}, 225, 150, "W"},
      {"Cube root", {.unit = 6, .function = 11, .m = 1}, 216, 6, "W"},
  };
  std::string commands;
  Names expected;
  int number = 0;
  for (const Reading& r : readings) {
    const std::string place = " 0x20 0 " + std::to_string(++number);
    commands += "main_sdr_add 0x20" + Words(MakeFull(number, Latin(r.name), r.factors)) + "\nsensor_add" + place +
                " 1 1\nsensor_set_value" + place + " " + std::to_string(r.raw) + " 0\n";
    expected.push_back(std::to_string(number) + " " + r.name);
  }
  commands += "main_sdr_add 0x20" + Words(MakeCompact(100, Latin("Lid"))) + "\nmain_sdr_add 0x20" +
              Words(MakeEventOnly(101, Latin("Watchdog"))) + "\n";
  expected.insert(expected.end(), {"100 Lid", "101 Watchdog"});
  const Simulator simulator(commands);
  const IPMIController controller(std::make_unique<IPMIConnection>(simulator.options()));
  EXPECT_EQ(NamesOf(controller.GetSensors()), expected);
  EXPECT_EQ(controller.notes(), Names());

  std::istringstream others(OutputOf(simulator.Tool() + "-c sdr list full"));
  for (const Reading& r : readings) {
    SCOPED_TRACE(r.name);
    const auto place = static_cast<size_t>(&r - readings);
    const Sensor& sensor = controller.GetSensors().at(place);
    EXPECT_EQ(sensor.host_id, place + 1);
    EXPECT_EQ(sensor.unit, r.unit);
    EXPECT_EQ(ConvertReading(sensor, static_cast<uint8_t>(r.raw)), r.value);
    std::string name, value;
    std::getline(others, name, ',');
    std::getline(others, value, ',');
    others.ignore(1000, '\n');
    EXPECT_EQ(name, r.name);
    EXPECT_EQ(std::llround(std::atof(value.c_str())), r.value) << value;
  }

  machine::WriteFile("/tmp/sensors.json", DescribeSensors(controller.GetSensors()));
  EXPECT_EQ(ReadSensors("/tmp/sensors.json"), controller.GetSensors());
}

TEST(IPMISimulator, LogsThatChange) {
  const Simulator simulator("");
  IPMIController controller(std::make_unique<IPMIConnection>(simulator.options()));
  const auto expect_same = [&](uint32_t count) {
    EXPECT_EQ(controller.CountEntries(), count);
    const std::string ours = ReadLog(controller);
    OutputOf(simulator.Tool() + "sel writeraw /tmp/theirs");
    EXPECT_EQ(ours, machine::ReadFile("/tmp/theirs"));
    machine::WriteFile("/tmp/ours", ours);
    EXPECT_EQ(OutputOf(simulator.Tool() + "sel readraw /tmp/ours"), OutputOf(simulator.Tool() + "sel list"));
    return ours;
  };
  EXPECT_EQ(controller.CountEntries(), 0U);
  tagSEL_DATA entry{};
  EXPECT_FALSE(controller.ReadEntry(entry)) << "the first of none";

  for (const int sensor : {1, 2, 3}) simulator.AddEvent(sensor);
  expect_same(3);
  entry.wRecordID = 2;
  EXPECT_TRUE(controller.ReadEntry(entry));
  OutputOf(simulator.Tool() + "sel delete 2");
  const tagSEL_DATA before = entry;
  EXPECT_FALSE(controller.ReadEntry(entry)) << "an entry that is gone";
  EXPECT_EQ(std::memcmp(&entry, &before, sizeof(entry)), 0);
  EXPECT_EQ(controller.problem(), "");
  const std::string shrunk = expect_same(2);
  EXPECT_EQ(shrunk[11], 1);
  EXPECT_EQ(shrunk[16 + 11], 3);

  OutputOf(simulator.Tool() + "sel clear");
  EXPECT_EQ(controller.CountEntries(), 0U);
  entry.wRecordID = 3;
  EXPECT_FALSE(controller.ReadEntry(entry)) << "cleared";
  for (int sensor = 0; sensor < 12; ++sensor) simulator.AddEvent(sensor);
  expect_same(12);  // full
}

TEST(IPMISimulator, LoginsThatFail) {
  const Simulator simulator("");
  const auto expect_failure = [](const IPMIOptions& options, int status, const std::string& text) {
    const auto start = std::chrono::steady_clock::now();
    try {
      IPMIConnection connection(options);
      ADD_FAILURE() << "logged in, not: " << text;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status(), status);
      EXPECT_NE(std::string(failure.what()).find(text), std::string::npos) << failure.what() << "\nnot: " << text;
      EXPECT_EQ(std::string(failure.what()).find('\n'), std::string::npos);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, options.timeout + 500ms);
  };
  const struct {
    std::function<void(IPMIOptions&)> change;
    int status;
    std::string text;
  } cases[] = {
      {[](IPMIOptions& o) { o.password = "wrong"; }, 1, ": wrong user or password"},
      {[](IPMIOptions& o) { o.user = "nobody"; }, 1, ": wrong user or password"},
      {[](IPMIOptions& o) { o.privilege = IPMIPrivilege::kCallback; }, 1, "privilege level is too low"},
      {[](IPMIOptions& o) { o.port = FreePort(0); }, 1, ": nobody answers"},
      {[](IPMIOptions& o) { o.host = "no-such-host.invalid"; }, 1, " host 'no-such-host.invalid'"},
      {[](IPMIOptions& o) { o.user = std::string(17, 'u'); }, 2, "user name is longer than the 16 bytes"},
      {[](IPMIOptions& o) { o.password = std::string(21, 'p'); }, 2, "password is longer than the 20 bytes"},
      {[](IPMIOptions& o) { o.host.reset(); }, 1, "modprobe -a ipmi_si ipmi_devintf"},
  };
  for (const auto& c : cases) {
    IPMIOptions options = simulator.options();
    c.change(options);
    expect_failure(options, c.status, c.text);
  }

  IPMIOptions local = simulator.options();
  local.host.reset();
  machine::WriteFile("/dev/ipmi0", "no device");
  EXPECT_EQ(FindIPMIDevice(), "/dev/ipmi0");
  expect_failure(local, 1, "/dev/ipmi0 does not work as the device of a management controller: ");
  machine::Remove("/dev/ipmi0");
}

TEST(IPMISimulator, OldControllers) {
  const Simulator simulator("main_sdr_add 0x20" + Words(MakeCompact(1, Latin("Lid"))) + "\n", false);
  IPMIOptions options = simulator.options();
  try {
    IPMIConnection connection(options);
    ADD_FAILURE() << "logged in by IPMI 1.5";
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find("does not know RMCP+"), std::string::npos) << failure.what();
  }
  options.allow_1_5 = true;
  const IPMIController controller(std::make_unique<IPMIConnection>(options));
  EXPECT_EQ(NamesOf(controller.GetSensors()), Names{"1 Lid"});
  options.password = "wrong";
  EXPECT_THROW(IPMIConnection{options}, Failure);
}

TEST(IPMISimulator, LostSessions) {
  Simulator simulator("");
  IPMIController controller(std::make_unique<IPMIConnection>(simulator.options()));
  EXPECT_EQ(controller.CountEntries(), 0U);
  simulator.Kill();
  simulator.Start();
  simulator.AddEvent(1);
  EXPECT_EQ(controller.CountEntries(), 1U) << "a new session";
  EXPECT_EQ(controller.problem(), "");

  simulator.Kill();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(controller.CountEntries(), std::nullopt);
  EXPECT_EQ(controller.problem().find("the session was lost; no session with the controller at 127.0.0.1 port "), 0U)
      << controller.problem();
  tagSEL_DATA entry{};
  for (int i = 0; i < 1000; ++i) EXPECT_FALSE(controller.ReadEntry(entry));  // at once
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2500ms);
  simulator.Start();
  std::this_thread::sleep_for(2s);
  EXPECT_EQ(controller.CountEntries(), 0U) << "a controller that is back";
}

// ---- A faulty controller
// ---------------------------------------------------------------------------------------------

/// A good controller in memory with the sensors A, B and C and the log entries 5 and 9, until a test meddles.
class FakeController : public IPMITransport {
 public:
  using Meddler = std::function<std::optional<IPMIAnswer>(FakeController&, const std::string& command, const Bytes&)>;

  explicit FakeController(Meddler meddler = {}) : meddler_(std::move(meddler)) {}

  IPMIAnswer Request(const IPMICommand& command, const Bytes& data) override {
    asked.emplace_back(command.name);
    if (meddler_) {
      if (auto answer = meddler_(*this, command.name, data)) return *answer;
    }
    const auto low = [](size_t number) { return static_cast<uint8_t>(number); };
    switch (command.function << 8 | command.command) {
      case 0x0A20:
        return {0, {0x51, low(records.size()), 0, 0, 0, 0, 0, 0, changes, 0, 0, 0, 0, 2}};
      case 0x0A22:
        return {0, {++reservation, 0}};
      case 0x0A23: {
        const size_t id = std::max<size_t>(1, data.at(2)), offset = data.at(4);
        if (id > records.size()) return {kIPMINotPresent, {}};
        if (offset != 0 && data[0] != reservation) return {kIPMIReservationLost, {}};
        const Bytes& record = records[id - 1];
        const size_t end = data.at(5) == 0xFF ? record.size() : offset + data[5];
        if (end > record.size()) return {kIPMIOutOfRange, {}};
        if (end - offset > largest) return {kIPMITooManyBytes, {}};
        const bool last = id == records.size();
        IPMIAnswer answer{0, {low(last ? 0xFF : id + 1), low(last ? 0xFF : 0)}};
        for (size_t i = offset; i < end; ++i) answer.data.push_back(record[i]);
        return answer;
      }
      case 0x0A40:
        return {0, {0x51, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2}};
      case 0x0A43: {
        const int id = data.at(2) == 0 ? 5 : data[2];
        if (id != 5 && id != 9) return {kIPMINotPresent, {}};
        IPMIAnswer answer{0, {low(id == 5 ? 9 : 0xFF), low(id == 5 ? 0 : 0xFF), low(static_cast<size_t>(id))}};
        answer.data.resize(18);
        return answer;
      }
    }
    return {kIPMIInvalidCommand, {}};
  }

  std::vector<Bytes> records{MakeCompact(1, Latin("A")), MakeEventOnly(2, Latin("B")), MakeFull(3, Latin("C"), {})};
  size_t largest = 255;
  uint8_t changes = 0, reservation = 0;
  Names asked;

 private:
  Meddler meddler_;
};

std::string Outcome(FakeController::Meddler meddler) {
  std::string text;
  try {
    const IPMIController controller(std::make_unique<FakeController>(std::move(meddler)));
    for (const std::string& name : NamesOf(controller.GetSensors())) text += name + ";";
    for (const std::string& note : controller.notes()) text += " " + note + ";";
  } catch (const Failure& failure) {
    text = failure.what();
  }
  return text;
}

TEST(IPMIFaults, SensorRepository) {
  using Answer = std::optional<IPMIAnswer>;
  const auto largest = [](size_t size, uint8_t completion) {
    return [=](FakeController&, const std::string& command, const Bytes& data) -> Answer {
      return command == "Get SDR" && data[5] > size ? Answer{{completion, {}}} : std::nullopt;
    };
  };
  const auto always = [](const std::string& which, IPMIAnswer answer, int times = 1 << 20) {
    return [=](FakeController&, const std::string& command, const Bytes&) mutable -> Answer {
      return command == which && times-- > 0 ? Answer{answer} : std::nullopt;
    };
  };
  const auto at = [](int place, std::function<Answer(FakeController&)> meddle) {  // at a Get SDR, counted from 1
    return [=](FakeController& controller, const std::string& command, const Bytes&) mutable -> Answer {
      return command == "Get SDR" && --place == 0 ? meddle(controller) : std::nullopt;
    };
  };
  const std::string all = "1 A;2 B;3 C;";
  const struct {
    const char* fault;
    FakeController::Meddler meddler;
    std::string outcome;
  } cases[] = {
      {"none", {}, all},
      {"32 bytes at most", largest(32, 0xCA), all},
      {"10 bytes at most", largest(10, 0xC8), all},
      {"8 bytes at most, no word for it", largest(8, 0xFF), all},
      {"no byte", largest(0, 0xCA),
       "the controller answers Get SDR: it cannot return that many bytes (completion code CAh)"},
      {"without reservations", always("Reserve SDR Repository", {0xC1, {}}), all},
      {"busy", always("Get SDR", {0xC0, {}}, 2), all},
      {"reservation lost", always("Get SDR", {0xC5, {}}, 2), all},
      {"reservation always lost", always("Get SDR", {0xC5, {}}),
       "the controller answers Get SDR: the reservation was lost (completion code C5h)"},
      {"no repository", always("Get SDR Repository Info", {0xC1, {}}),
       " the controller has no repository of sensor records;"},
      {"privilege", always("Get SDR", {0xD4, {}}),
       "the controller answers Get SDR: the privilege level is too low (completion code D4h)"},
      {"maker's code", always("Get SDR", {0x01, {}}),
       "the controller answers Get SDR: an error of its maker's (completion code 01h)"},
      {"short answer", always("Get SDR", {0, {1}}), "the controller answers Get SDR with 1 bytes instead of 2"},
      {"short information", always("Get SDR Repository Info", {0, {0x51, 1}}),
       "the controller answers Get SDR Repository Info with 2 bytes instead of 14"},
      {"empty record",
       at(2,
          [](auto&) {
            return IPMIAnswer{0, {3, 0}};
          }),
       "1 A;3 C; sensor record 2 is not whole and left out;"},
      {"ring", always("Get SDR", {0, {7, 0}}),
       "the controller's sensor records changed, or their chain broke, each time they were read"},
      {"an addition",
       at(3,
          [](FakeController& c) -> Answer {
            c.records.push_back(MakeCompact(4, Latin("D")));
            ++c.changes;
            return std::nullopt;
          }),
       all + "4 D;"},
      {"half of a record that is being added",
       at(3,
          [](FakeController& c) -> Answer {
            ++c.changes;
            return IPMIAnswer{0, {0xFF, 0xFF, 3, 0, 0x51, 1, 50}};
          }),
       all},
      {"a removal",
       at(3,
          [](FakeController& c) -> Answer {
            c.records.pop_back();
            ++c.changes;
            return std::nullopt;
          }),
       "1 A;2 B;"},
  };
  for (const auto& c : cases) EXPECT_EQ(Outcome(c.meddler), c.outcome) << c.fault;

  srandom(1);
  for (int i = 0; i < 20000; ++i) {  // garbage of any length, with what leads it deeper more often than not
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

TEST(IPMIFaults, SensorRecords) {
  std::string six_bit(32, '\0'), bcd(32, '\0');
  for (auto [text, encoded] : {std::pair{"FAN 1/2", &six_bit}, {"12-3.4,5_", &bcd}}) {
    unsigned size = 32;
    ipmi_set_device_string(text, IPMI_ASCII_STR, static_cast<unsigned>(std::strlen(text)),
                           reinterpret_cast<unsigned char*>(encoded->data()), 0, &size);
    encoded->resize(size);
  }
  EXPECT_EQ(six_bit[0] & 0xC0, 0x80);
  EXPECT_EQ(bcd[0] & 0xC0, 0x40);
  const struct {
    Bytes record;
    Names names;
    std::string note;
  } cases[] = {
      {MakeCompact(1, six_bit), {"1 FAN 1/2"}, ""},
      {MakeCompact(1, bcd), {"1 12-3.4,5_"}, ""},
      {MakeCompact(1, "\x84\x29\xDC\xA6"), {"1 IPMI"}, ""},
      {MakeCompact(1,
                   "\x05\xAC\x20\x2E\x20"
                   "A\0\x3D\xD8\x00\xDE"s),
       {"1 \u20ACA\U0001F600"},
       ""},
      {MakeCompact(1, Latin("caf\xE9\x9B\x1B[2J \n ")), {"1 caf\u00E9[2J"}, ""},
      {MakeCompact(1, Latin("NUL\0ends"s)), {"1 NUL"}, ""},
      {MakeCompact(0x1C, Latin("")), {"28 sensor 1Ch"}, ""},
      {MakeCompact(7, "\xDFlonger than it is"), {"7 longer than it is"}, ""},
      {MakeCompact(5, Latin("Temp "), 3, 9), {"5 Temp 9", "6 Temp 10", "7 Temp 11"}, ""},
      {MakeEventOnly(5, Latin("Fan"), 0x12, 25), {"5 Fan Z", "6 Fan AA"}, ""},
      {MakeCompact(254, Latin("x"), 15), {"254 x 0", "255 x 1"}, ""},
      {MakeFull(9, Latin("x"), {.function = 0x70}),
       {"9 x"},
       "sensor 09h 'x' has readings by a function of its own, which are not converted"},
      {MakeFull(9, Latin("x"), {}, 0x28),
       {},
       "sensor 09h 'x' is another controller's (owner 28h, logical unit 0) and left out"},
      {MakeFull(9, Latin("x"), {}, 0x20, 1),
       {},
       "sensor 09h 'x' is another controller's (owner 20h, logical unit 1) and left out"},
      {MakeSDR(1, 9, {}, ""), {}, "sensor record 00h is too short and left out"},
      {MakeSDR(0x12, 9, Bytes(40), ""), {}, ""},
      {{1, 2, 3}, {}, ""},
  };
  for (const auto& c : cases) {
    const SDRContents contents = DecodeSDR(c.record);
    EXPECT_EQ(NamesOf(contents.sensors), c.names);
    EXPECT_EQ(contents.note, c.note);
  }
  EXPECT_EQ(UnitText(0x00, 18, 0), "RPM");
  EXPECT_EQ(UnitText(0x01, 0, 0), "%");
  EXPECT_EQ(UnitText(0x1A, 70, 1), "bits/degrees C/s");
  EXPECT_EQ(UnitText(0x04, 4, 5), "V x A");
}

TEST(IPMIFaults, EventLog) {
  Bytes other(18);
  other[2] = 9;
  const struct {
    const char* fault;
    uint16_t id;
    std::optional<IPMIAnswer> answer;  // none: the good one
    bool good;
    std::string problem;
  } cases[] = {
      {"the first", 0, {}, true, ""},
      {"one by its ID", 9, {}, true, ""},
      {"gone", 6, {}, false, ""},
      {"another one instead", 5, IPMIAnswer{0, other}, false, ""},
      {"another one as the first", 0, IPMIAnswer{0, other}, true, ""},
      {"short", 9, IPMIAnswer{0, Bytes(17)}, false, "the controller answers Get SEL Entry with 17 bytes instead of 18"},
      {"an error", 9, IPMIAnswer{0xD4, {}}, false,
       "the controller answers Get SEL Entry: the privilege level is too low (completion code D4h)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fault);
    auto transport = std::make_unique<FakeController>([&](FakeController&, const std::string& command, const Bytes&) {
      return command == "Get SEL Entry" ? c.answer : std::nullopt;
    });
    FakeController& fake = *transport;
    IPMIController controller(std::move(transport));
    tagSEL_DATA entry{c.id, 77, {1}};
    fake.asked.clear();
    EXPECT_EQ(controller.ReadEntry(entry), c.good);
    EXPECT_EQ(fake.asked, Names{"Get SEL Entry"});
    EXPECT_EQ(entry.wNextRecordID == 77, !c.good);
    EXPECT_EQ(controller.problem(), c.problem);
  }

  bool silent = false;
  auto transport = std::make_unique<FakeController>([&](FakeController&, const std::string&, const Bytes&) {
    if (silent) throw Failure(kRequestFailed, "silence");
    return std::optional<IPMIAnswer>();
  });
  FakeController& fake = *transport;
  IPMIController controller(std::move(transport));
  fake.asked.clear();
  EXPECT_EQ(controller.CountEntries(), 2U);
  EXPECT_EQ(fake.asked, Names{"Get SEL Info"}) << "all that an unchanged log costs";
  silent = true;
  EXPECT_EQ(controller.CountEntries(), std::nullopt);
  tagSEL_DATA entry{};
  EXPECT_FALSE(controller.ReadEntry(entry));
  EXPECT_EQ(controller.problem(), "silence");
  EXPECT_EQ(Outcome([](auto&, auto&, auto&) -> std::optional<IPMIAnswer> { throw Failure(1, "silence"); }), "silence");
  EXPECT_EQ(Outcome([](auto&, auto&, auto&) -> std::optional<IPMIAnswer> {
              return IPMIAnswer{0xC1, {}};
            }),
            "the controller answers Get SEL Info: it does not know this command (completion code C1h)");
}

}  // namespace
