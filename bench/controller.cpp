/// controller.cpp: measures how long the list of a controller's event log takes through the module, beside ipmitool,
/// and prints two rows for the table of main.cpp. The controller is played by ipmi_sim on the loopback, which works in
/// a process of its own, so time on the clock counts. It is made of what the tests share, and so looks like one of
/// them.
#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>

#include "bench/bench.h"
#include "standin/host/host.h"
#include "standin/host/module.h"
#include "standin/ipmi/ipmiconnection.h"
#include "standin/ipmi/ipmicontroller.h"
#include "tests/support/ipmi.h"
#include "tests/support/ipmisim.h"

namespace {

constexpr size_t RECORDS = 2'000;
constexpr standin::IPMICommand ADD_ENTRY{0x0A, 0x44, "Add SEL Entry"};

standin::IPMIOptions OptionsFor(const IPMISimulator& simulator) {
  standin::IPMIOptions options;
  options.host = "127.0.0.1";
  options.port = simulator.Port();
  options.user = "boss";
  options.password = "mighty";
  options.privilege = standin::IPMIPrivilege::ADMINISTRATOR;
  return options;
}

void FillLog(const IPMISimulator& simulator) {
  standin::IPMIConnection connection(OptionsFor(simulator));
  for (const SELRecord& record : bench::EventLog(RECORDS)) {
    connection.Request(ADD_ENTRY, standin::Bytes(record.begin(), record.end()));
  }
}

/// The sensors that the records name, by the numbers 1 to SENSORS.
std::string DescribeSensors() {
  std::string commands;
  for (uint32_t number = 1; number <= bench::SENSORS; ++number) {
    commands += AddSDR(MakeFull(static_cast<int>(number), Latin("Sensor " + std::to_string(number)), {}));
  }
  return commands;
}

/// A host and a started module beside a controller of its own connection.
class Host {
 public:
  explicit Host(const IPMISimulator& simulator)
      : controller_(std::make_unique<standin::IPMIConnection>(OptionsFor(simulator))) {
    process_.controller = &controller_;
    standin::host = &process_;
    module_ = std::make_unique<standin::Module>(KESTRUNE_BENCH_MODULE);
    uint32_t out = 0;
    if (module_->SPInitialize(nullptr, &out) == 0) throw std::runtime_error("the module does not start");
  }

  void List() const {
    tagIDV identifier = standin::Group(LOG_SEL);
    uint32_t count = RECORDS;
    bench::Items items(count);
    if (module_->SPConfig(SP_OP_GET, SP_CONFIGITEM, &identifier, &count, items.data()) == 0 || count != RECORDS) {
      throw std::runtime_error("the list is not whole");
    }
  }

 private:
  standin::HostProcess process_;
  standin::IPMIController controller_;
  std::unique_ptr<standin::Module> module_;
};

void ListWithTool(const IPMISimulator& simulator) {
  const std::string list = simulator.Tool("sel elist");
  if (std::count(list.begin(), list.end(), '\n') != RECORDS) throw std::runtime_error("ipmitool's list is not whole");
}

TEST(ControllerBench, ListOfItsLog) {
  bench::Configure({.wallClock = true});
  const IPMISimulator simulator(DescribeSensors(), true, RECORDS);
  FillLog(simulator);
  const std::function<void()> tool = [&] { ListWithTool(simulator); };
  bench::Pair first{{{}, [&] { Host(simulator).List(); }, {}}, {{}, tool, {}}};
  bench::Row("list of 2,000 records of a controller, first", "ipmitool sel elist", first.MedianRatio(), 1);
  const Host host(simulator);
  host.List();
  bench::Pair again{{{}, [&] { host.List(); }, {}}, {{}, tool, {}}};
  bench::Row("the same list again", "times as fast as ipmitool sel elist", 1 / again.MedianRatio(), 50, true);
}

}  // namespace
