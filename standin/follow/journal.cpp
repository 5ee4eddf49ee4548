#include "standin/follow/journal.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

// The entries' place in this program says nothing.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

namespace standin {
namespace {

constexpr std::string_view ENTRIES = "/run/systemd/journal/socket";
constexpr std::string_view REQUESTS = "/run/systemd/journal/io.systemd.journal";

/// What asks for that, with the NUL that ends a message there.
constexpr std::string_view SYNCHRONIZE{"{\"method\":\"io.systemd.Journal.Synchronize\"}\0", 44};
constexpr time_t PATIENCE = 10;

/// Connects to one of the journal's sockets. Returns a descriptor, or -1.
int Connect(std::string_view path, int type) {
  const int descriptor = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return -1;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy(path.begin(), path.end(), address.sun_path);
  const timeval patience{PATIENCE, 0};
  setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
  if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return descriptor;
  close(descriptor);
  return -1;
}

/// Whether somebody takes entries.
bool IsJournalThere() {
  const int descriptor = Connect(ENTRIES, SOCK_DGRAM);
  if (descriptor >= 0) close(descriptor);
  return descriptor >= 0;
}

}  // namespace

void Journal::Close() {
  if (socket_ >= 0) close(std::exchange(socket_, -1));
  isAwaited_ = false;
}

JournalSync Journal::Open() {
  if (!IsJournalThere()) {
    Close();
    return JournalSync::GONE;
  }
  // Nothing is sent there, so that an end of the connection is all that can be read.
  char byte = 0;
  if (socket_ >= 0 && (isAwaited_ || recv(socket_, &byte, 1, MSG_DONTWAIT | MSG_PEEK) >= 0)) Close();
  if (socket_ >= 0) return JournalSync::DONE;
  socket_ = Connect(REQUESTS, SOCK_STREAM);
  // The first answer shows that this very process has the connection, and not the service manager for the next one.
  return Synchronize();
}

bool Journal::Send(const std::vector<std::string>& fields) {
  std::vector<iovec> pieces(fields.size());
  std::transform(fields.begin(), fields.end(), pieces.begin(), [](const std::string& field) {
    return iovec{const_cast<char*>(field.data()), field.size()};
  });
  // The library takes a journal that is not there for one that wants nothing.
  return IsJournalThere() && sd_journal_sendv(pieces.data(), static_cast<int>(pieces.size())) == 0;
}

JournalSync Journal::Synchronize() {
  // A journal without that socket cannot tell.
  const JournalSync sync = socket_ >= 0 ? Ask() : IsJournalThere() ? JournalSync::DONE : JournalSync::GONE;
  if (sync == JournalSync::GONE) Close();
  return sync;
}

JournalSync Journal::Ask() {
  if (!isAwaited_ && send(socket_, SYNCHRONIZE.data(), SYNCHRONIZE.size(), MSG_NOSIGNAL) < 0) {
    return errno == EAGAIN ? JournalSync::UNANSWERED : JournalSync::GONE;
  }
  std::array<char, 256> answer{};
  const ssize_t size = recv(socket_, answer.data(), answer.size(), 0);
  isAwaited_ = size < 0 && (errno == EAGAIN || errno == EINTR);
  if (isAwaited_) return JournalSync::UNANSWERED;
  // Any answer will do: a journal that refuses cannot tell more.
  return size > 0 ? JournalSync::DONE : JournalSync::GONE;
}

}  // namespace standin
