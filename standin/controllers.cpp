/// controllers.cpp: the controller of this machine, of another, or of a file.
#include "standin/controllers.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "standin/failure.h"
#include "standin/host/recordlog.h"
#include "standin/host/selfile.h"
#include "standin/ipmi/ipmiconnection.h"
#include "standin/ipmi/ipmicontroller.h"
#include "standin/password.h"

namespace standin {
namespace {

std::unique_ptr<Controller> ConnectToController(const Options& options) {
  IPMIOptions ipmi = options.ipmi;
  if (ipmi.host) ipmi.password = GetPassword(options.passwordFile);
  auto controller = std::make_unique<IPMIController>(std::make_unique<IPMIConnection>(ipmi), ShowProgress());
  for (const std::string& note : controller->Notes()) std::fprintf(stderr, "note: %s\n", note.c_str());
  return controller;
}

}  // namespace

Progress ShowProgress() {
  if (isatty(STDERR_FILENO) == 0) return {};
  return [](size_t read, size_t of) {
    if (read % 16 != 0 && read != of) return;
    // What is written next takes the place of an unfinished one.
    std::fprintf(stderr, "%zu of %zu records read%c", read, of, read == of ? '\n' : '\r');
  };
}

std::unique_ptr<Controller> MakeController(const Options& options) {
  if (options.ipmi.host) return ConnectToController(options);
  if (!options.sel && !options.noController && FindIPMIDevice()) {
    // A plain user may have no right to the machine's own controller, and does not need it for the text logs.
    const auto& followed = options.follow.logs;
    const bool isAskedFor = options.command == "save" || options.command == "dump-sel" || options.log == LOG_SEL ||
                            std::find(followed.begin(), followed.end(), LOG_SEL) != followed.end();
    try {
      return ConnectToController(options);
    } catch (const Failure& failure) {
      if (isAskedFor) throw;
      std::fprintf(stderr, "note: %s\n", failure.what());
    }
  }
  Sensors sensors = options.sensors ? ReadSensors(*options.sensors) : Sensors();
  if (!options.sel) return std::make_unique<NoController>();
  return std::make_unique<RecordLog>(ReadRawRecords(*options.sel, MAX_SEL_RECORDS), std::move(sensors));
}

}  // namespace standin
