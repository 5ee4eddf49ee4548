/// A management controller over IPMI that a simulator plays, and that others read too.
#include "tests/support/ipmi.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

#include "standin/host/capture.h"
#include "standin/ipmi/ipmiconnection.h"
#include "standin/ipmi/sdr.h"
#include "tests/support/ipmisim.h"

namespace standin {
namespace {

using namespace std::chrono_literals;

IPMIOptions OptionsFor(const IPMISimulator& simulator) {
  IPMIOptions options;
  options.host = "127.0.0.1";
  options.port = simulator.Port();
  options.user = "reader";
  options.password = "secret";
  options.timeout = 2s;
  return options;
}

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
      {"Factors", {.unit = 4, .m = -512, .b = 511, .bExp = 2, .rExp = -3}, 10, 45980, "V"},
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
    EXPECT_EQ(std::llround(std::atof(value.c_str()) * (sensor.unit == "V" ? 1000 : 1)), r.value) << value;
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
  const std::string typed = OutputOf("IPMI_PASSWORD=secret script -qec '" + live + "show sel' /dev/null </dev/null");
  EXPECT_NE(typed.find("1 of 1 records read\r\n"), std::string::npos) << typed;
  machine::WriteFile("/tmp/password", "secret\n");
  OutputOf(live + "--ipmi-password-file /tmp/password save --sel /tmp/saved.raw --sensors /tmp/saved.json");
  EXPECT_EQ(OutputOf(host + " --sel /tmp/saved.raw --sensors /tmp/saved.json show sel --format csv"), shown);
  EXPECT_EQ(OutputOf("IPMI_PASSWORD=wrong " + live + "show sel 2>&1; echo $?"),
            "kestrune-host: no session with the controller at 127.0.0.1 port " + std::to_string(simulator.Port()) +
                ": wrong user or password\n1\n");
}

/// Three readers of one log agree on each record. They differ in words by design: ours are the module's.
TEST(IPMISimulator, OthersReadTheSameRecords) {
  const struct {
    const char *event, *ours, *ipmitool, *freeipmi;
  } records[] = {
      // The module's words tell neither the threshold nor the direction.
      {"1 1 0x01 0x57 80 75",  // sensor type and number, event type, event data
       "1,2024-01-11T14:49:36Z,1,asserted,CPU Temp,CPU Temp over-temperature: 80 degrees C",
       "1,01/11/24,14:49:36 UTC,Temperature CPU Temp,Upper Non-critical going high,Asserted,"
       "Reading 80 > Threshold 75 degrees C",
       "1,Jan-11-2024,14:49:36,CPU Temp,Temperature,Assertion Event,"
       "Upper Non-critical - going high ; Sensor Reading = 80.00 C ; Threshold = 75.00 C"},
      {"1 1 0x81 0x59 81 90", "2,2024-01-11T14:49:36Z,1,deasserted,CPU Temp,CPU Temp over-temperature: 81 degrees C",
       "2,01/11/24,14:49:36 UTC,Temperature CPU Temp,Upper Critical going high,Deasserted,"
       "Reading 81 < Threshold 90 degrees C",
       "2,Jan-11-2024,14:49:36,CPU Temp,Temperature,Deassertion Event,"
       "Upper Critical - going high ; Sensor Reading = 81.00 C ; Threshold = 90.00 C"},
      // A sensor without a record: each names it in its own way.
      {"0x0c 2 0x6f 0xa1 0xff 3", "3,2024-01-11T14:49:36Z,2,asserted,Memory,Uncorrectable ECC",
       "3,01/11/24,14:49:36 UTC,Memory #0x02,Uncorrectable ECC,Asserted",
       "3,Jan-11-2024,14:49:36,Sensor #2,Memory,Assertion Event,"
       "Uncorrectable memory error ; OEM Event Data3 code = 03h"},
  };
  const IPMISimulator simulator(AddSDR(MakeFull(1, Latin("CPU Temp"), {})));
  for (const auto& r : records) {
    simulator.Tool("raw 0x0a 0x49 0 0 0xa0 0x65");  // its clock
    simulator.Tool("raw 0x0a 0x44 0 0 2 0 0 0 0 0x20 0 4 " + std::string(r.event));
  }
  const std::string address = "127.0.0.1:" + std::to_string(simulator.Port());
  std::istringstream ours(OutputOf("IPMI_PASSWORD=secret " + std::string(std::getenv("KESTRUNE_HOST")) + " --ipmi " +
                                   address + " --ipmi-user reader show sel --reverse --format csv --columns " +
                                   "recordId,timestamp,sensorNumber,direction,sensor,description | sed 's/\r//;1d'"));
  std::istringstream ipmitool(simulator.Tool("-c sel elist"));
  // This client wants to be told the privilege of its session, which the simulator does not do.
  std::istringstream freeipmi(OutputOf("ipmi-sel --config-file=/dev/null -D LAN_2_0 -W opensesspriv -h " + address +
                                       " -u boss -p mighty -l admin --sdr-cache-directory=/tmp --quiet-cache -v " +
                                       "--comma-separated-output --no-header-output"));
  const auto next = [](std::istream& list) {
    std::string line;
    std::getline(list, line);
    return line;
  };
  for (const auto& r : records) {
    const std::string line = next(ours);
    // The clock may have gone on by a second before the event came.
    const auto at = [second = line.substr(0, 21).ends_with('7') ? '7' : '6'](std::string text) {
      return text.replace(text.find("14:49:36") + 7, 1, 1, second);
    };
    EXPECT_EQ(line, at(r.ours));
    EXPECT_EQ(next(ipmitool), at(r.ipmitool));
    EXPECT_EQ(next(freeipmi), at(r.freeipmi));
  }
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
      EXPECT_EQ(entry.abyRecord[RECORD_SENSOR_NUMBER], sensor);
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
  EXPECT_NE(OutputOf("IPMI_PASSWORD=secret " + std::string(std::getenv("KESTRUNE_HOST")) +
                     " --ipmi 127.0.0.1:" + std::to_string(old.Port()) + " --ipmi-user reader --ipmi-fallback logs")
                .find("sel   0xFC        0"),
            std::string::npos);
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

}  // namespace
}  // namespace standin
