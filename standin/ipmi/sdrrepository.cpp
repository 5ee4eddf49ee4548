#include "standin/ipmi/sdrrepository.h"

#include <algorithm>
#include <optional>
#include <set>

#include "standin/failure.h"
#include "standin/ipmi/sdr.h"

namespace standin {
namespace {

constexpr IPMICommand GET_INFO{0x0A, 0x20, "Get SDR Repository Info"};
constexpr IPMICommand RESERVE{0x0A, 0x22, "Reserve SDR Repository"};
constexpr IPMICommand GET_RECORD{0x0A, 0x23, "Get SDR"};

constexpr uint16_t LAST_RECORD = 0xFFFF;
constexpr size_t WHOLE = 0xFF;  // a number of bytes that stands for the whole record
constexpr size_t LARGEST_PIECE = 32;
constexpr size_t SMALLEST_PIECE = 8;
constexpr int READINGS = 3;        // of a repository that changes
constexpr int RESERVATIONS = 100;  // others may reserve at any time, and each time ours is lost

uint8_t LowByte(size_t number) { return static_cast<uint8_t>(number & 0xFF); }

/// One pass over the repository.
class Reader {
 public:
  Reader(IPMITransport& transport, const Progress& progress) : transport_(transport), progress_(progress) {}

  /// The records, or none when the chain of record IDs broke: then they changed meanwhile.
  std::optional<SDRRepository> ReadAll(size_t announced) {
    SDRRepository repository;
    std::set<uint16_t> seen;
    Reserve();
    for (uint16_t id = 0; id != LAST_RECORD;) {
      if (!seen.insert(id).second) return std::nullopt;
      Bytes record;
      uint16_t next = LAST_RECORD;
      if (!ReadRecord(id, next, record)) return std::nullopt;
      if (IsWhole(record)) {
        repository.records.push_back(record);
      } else {
        repository.notes.push_back("sensor record " + std::to_string(id) + " is not whole and left out");
      }
      if (progress_) progress_(seen.size(), announced);
      id = next;
    }
    return repository;
  }

 private:
  void Reserve() {
    const IPMIAnswer answer = AskPatiently(transport_, RESERVE, {});
    // A controller without reservations wants 0.
    reservation_ = answer.completion == IPMI_INVALID_COMMAND ? 0 : ReadWord(RequireData(RESERVE, answer, 2), 0);
  }

  static bool IsWhole(const Bytes& record) {
    return record.size() >= SDR_HEADER_SIZE && record.size() >= SDR_HEADER_SIZE + record[4];
  }

  /// Reads one record as far as it goes, and the ID of the next. Returns whether there is a record with this ID.
  bool ReadRecord(uint16_t id, uint16_t& next, Bytes& record) {
    while (!IsWhole(record)) {
      const size_t size = record.size() < SDR_HEADER_SIZE ? SDR_HEADER_SIZE : SDR_HEADER_SIZE + record[4];
      const bool whole = piece_ == WHOLE && record.empty();
      const size_t count = whole ? WHOLE : std::min({size - record.size(), piece_, LARGEST_PIECE});
      const IPMIAnswer answer = AskPatiently(transport_, GET_RECORD,
                                             {LowByte(reservation_), LowByte(reservation_ >> 8U), LowByte(id),
                                              LowByte(id >> 8U), LowByte(record.size()), LowByte(count)});
      if (answer.completion == IPMI_RESERVATION_LOST && lost_ < RESERVATIONS) {
        ++lost_;
        Reserve();
        record.clear();  // what was reserved may have changed
      } else if (IsTooLong(answer.completion) && piece_ > SMALLEST_PIECE) {
        piece_ = std::min(piece_ / 2, LARGEST_PIECE);
      } else if (answer.completion == IPMI_NOT_PRESENT || answer.completion == IPMI_OUT_OF_RANGE) {
        return record.size() >= SDR_HEADER_SIZE;  // a record that is being added ends before its length says
      } else {
        const Bytes data = RequireData(GET_RECORD, answer, 2);
        next = ReadWord(data, 0);
        if (data.size() == 2) return true;
        record.insert(record.end(), data.begin() + 2, data.end());
      }
    }
    record.resize(SDR_HEADER_SIZE + record[4]);
    return true;
  }

  /// Whether a controller says so that it cannot send that many bytes. Some have no better word for it than the last.
  static bool IsTooLong(uint8_t completion) {
    return completion == IPMI_TOO_MANY_BYTES || completion == IPMI_FIELD_LENGTH || completion == IPMI_REQUEST_LENGTH ||
           completion == IPMI_UNSPECIFIED;
  }

  IPMITransport& transport_;
  const Progress& progress_;
  uint16_t reservation_ = 0;
  size_t piece_ = WHOLE;
  int lost_ = 0;
};

}  // namespace

SDRRepository ReadSDRRepository(IPMITransport& transport, const Progress& progress) {
  IPMIAnswer answer = AskPatiently(transport, GET_INFO, {});
  if (answer.completion == IPMI_INVALID_COMMAND) return {{}, {"the controller has no repository of sensor records"}};
  Bytes before = RequireData(GET_INFO, std::move(answer), 14);
  for (int reading = 0; reading < READINGS; ++reading) {
    const uint16_t announced = ReadWord(before, 1);
    std::optional<SDRRepository> repository = SDRRepository();
    if (announced != 0) repository = Reader(transport, progress).ReadAll(announced);
    // The answer holds the number of records and the times of the last addition and removal.
    const Bytes after = RequireData(GET_INFO, AskPatiently(transport, GET_INFO, {}), 14);
    if (repository && after == before) return std::move(*repository);
    before = after;
  }
  throw Failure(REQUEST_FAILED,
                "the controller's sensor records changed, or their chain broke, each time they were read");
}

}  // namespace standin
