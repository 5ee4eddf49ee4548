#include "standin/sdrrepository.h"

#include <algorithm>
#include <optional>
#include <set>

#include "standin/failure.h"
#include "standin/sdr.h"

namespace standin {
namespace {

constexpr IPMICommand kGetInfo{0x0A, 0x20, "Get SDR Repository Info"};
constexpr IPMICommand kReserve{0x0A, 0x22, "Reserve SDR Repository"};
constexpr IPMICommand kGetRecord{0x0A, 0x23, "Get SDR"};

constexpr uint16_t kLastRecord = 0xFFFF;
constexpr size_t kWhole = 0xFF;  // a number of bytes that stands for the whole record
constexpr size_t kLargestPiece = 32;
constexpr size_t kSmallestPiece = 8;
constexpr int kReadings = 3;        // of a repository that changes
constexpr int kReservations = 100;  // others may reserve at any time, and each time ours is lost

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
    for (uint16_t id = 0; id != kLastRecord;) {
      if (!seen.insert(id).second) return std::nullopt;
      Bytes record;
      uint16_t next = kLastRecord;
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
    const IPMIAnswer answer = AskPatiently(transport_, kReserve, {});
    // A controller without reservations wants 0.
    reservation_ = answer.completion == kIPMIInvalidCommand ? 0 : ReadWord(RequireData(kReserve, answer, 2), 0);
  }

  static bool IsWhole(const Bytes& record) {
    return record.size() >= kSDRHeaderSize && record.size() >= kSDRHeaderSize + record[4];
  }

  /// Reads one record as far as it goes, and the ID of the next. Returns whether there is a record with this ID.
  bool ReadRecord(uint16_t id, uint16_t& next, Bytes& record) {
    while (!IsWhole(record)) {
      const size_t size = record.size() < kSDRHeaderSize ? kSDRHeaderSize : kSDRHeaderSize + record[4];
      const bool whole = piece_ == kWhole && record.empty();
      const size_t count = whole ? kWhole : std::min({size - record.size(), piece_, kLargestPiece});
      const IPMIAnswer answer = AskPatiently(transport_, kGetRecord,
                                             {LowByte(reservation_), LowByte(reservation_ >> 8U), LowByte(id),
                                              LowByte(id >> 8U), LowByte(record.size()), LowByte(count)});
      if (answer.completion == kIPMIReservationLost && lost_ < kReservations) {
        ++lost_;
        Reserve();
        record.clear();  // what was reserved may have changed
      } else if (IsTooLong(answer.completion) && piece_ > kSmallestPiece) {
        piece_ = std::min(piece_ / 2, kLargestPiece);
      } else if (answer.completion == kIPMINotPresent || answer.completion == kIPMIOutOfRange) {
        return record.size() >= kSDRHeaderSize;  // a record that is being added ends before its length says
      } else {
        const Bytes data = RequireData(kGetRecord, answer, 2);
        next = ReadWord(data, 0);
        if (data.size() == 2) return true;
        record.insert(record.end(), data.begin() + 2, data.end());
      }
    }
    record.resize(kSDRHeaderSize + record[4]);
    return true;
  }

  /// Whether a controller says so that it cannot send that many bytes. Some have no better word for it than the last.
  static bool IsTooLong(uint8_t completion) {
    return completion == kIPMITooManyBytes || completion == kIPMIFieldLength || completion == kIPMIRequestLength ||
           completion == kIPMIUnspecified;
  }

  IPMITransport& transport_;
  const Progress& progress_;
  uint16_t reservation_ = 0;
  size_t piece_ = kWhole;
  int lost_ = 0;
};

}  // namespace

SDRRepository ReadSDRRepository(IPMITransport& transport, const Progress& progress) {
  IPMIAnswer answer = AskPatiently(transport, kGetInfo, {});
  if (answer.completion == kIPMIInvalidCommand) return {{}, {"the controller has no repository of sensor records"}};
  Bytes before = RequireData(kGetInfo, std::move(answer), 14);
  for (int reading = 0; reading < kReadings; ++reading) {
    const uint16_t announced = ReadWord(before, 1);
    std::optional<SDRRepository> repository = SDRRepository();
    if (announced != 0) repository = Reader(transport, progress).ReadAll(announced);
    // The answer holds the number of records and the times of the last addition and removal.
    const Bytes after = RequireData(kGetInfo, AskPatiently(transport, kGetInfo, {}), 14);
    if (repository && after == before) return std::move(*repository);
    before = after;
  }
  throw Failure(kRequestFailed,
                "the controller's sensor records changed, or their chain broke, each time they were read");
}

}  // namespace standin
