#include "standin/ipmi/ipmicontroller.h"

#include <algorithm>

#include "platform/selrecord.h"
#include "standin/failure.h"
#include "standin/ipmi/sdr.h"
#include "standin/ipmi/sdrrepository.h"

namespace standin {
namespace {

constexpr IPMICommand GET_INFO{0x0A, 0x40, "Get SEL Info"};
constexpr IPMICommand GET_ENTRY{0x0A, 0x43, "Get SEL Entry"};
constexpr uint8_t WHOLE = 0xFF;

}  // namespace

IPMIController::IPMIController(std::unique_ptr<IPMITransport> transport, const Progress& progress)
    : transport_(std::move(transport)) {
  AskForState();
  SDRRepository repository = ReadSDRRepository(*transport_, progress);
  notes_ = std::move(repository.notes);
  for (const Bytes& record : repository.records) {
    SDRContents contents = DecodeSDR(record);
    if (!contents.note.empty()) notes_.push_back(std::move(contents.note));
    AddSensors(contents.sensors);
  }
}

void IPMIController::AddSensors(const Sensors& sensors) {
  for (const Sensor& sensor : sensors) {
    const auto twin = std::find_if(sensors_.begin(), sensors_.end(),
                                   [&sensor](const Sensor& each) { return each.number == sensor.number; });
    if (twin != sensors_.end()) {
      notes_.push_back("'" + sensor.name + "' has the number of '" + twin->name + "' and is left out");
      continue;
    }
    sensors_.push_back(sensor);
    sensors_.back().hostId = static_cast<uint32_t>(sensors_.size());
  }
}

LogState IPMIController::AskForState() {
  const Bytes info = RequireData(GET_INFO, AskPatiently(*transport_, GET_INFO, {}), 14);
  return {ReadWord(info, 1), ReadLittleEndian<uint32_t>(&info[5]), ReadLittleEndian<uint32_t>(&info[9])};
}

std::optional<uint32_t> IPMIController::CountEntries() {
  const auto state = GetLogState();
  return state ? std::optional(state->entries) : std::nullopt;
}

std::optional<LogState> IPMIController::GetLogState() {
  try {
    return AskForState();
  } catch (const std::exception& error) {
    problem_ = error.what();
    return std::nullopt;
  }
}

bool IPMIController::ReadEntry(tagSEL_DATA& entry) {
  const uint16_t id = entry.wRecordID;
  try {
    const Bytes request{0, 0, static_cast<uint8_t>(id & 0xFF), static_cast<uint8_t>(id >> 8), 0, WHOLE};
    IPMIAnswer answer = AskPatiently(*transport_, GET_ENTRY, request);
    if (answer.completion == IPMI_NOT_PRESENT) return false;
    const Bytes data = RequireData(GET_ENTRY, std::move(answer), 2 + sizeof(SELRecord));
    tagSEL_DATA found{ReadWord(data, 2), ReadWord(data, 0), {}};
    // Some controllers answer with another entry where the one asked for is gone.
    if (id != 0 && found.wRecordID != id) return false;
    std::copy_n(data.begin() + 2, found.abyRecord.size(), found.abyRecord.begin());
    entry = found;
    return true;
  } catch (const std::exception& error) {
    problem_ = error.what();
    return false;
  }
}

}  // namespace standin
