#include "standin/journal.h"

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
#include <cstring>
#include <string_view>

namespace standin {
namespace {

constexpr std::string_view ENTRIES = "/run/systemd/journal/socket";
constexpr std::string_view REQUESTS = "/run/systemd/journal/io.systemd.journal";

/// What asks for that, with the NUL that ends a message there.
constexpr std::string_view SYNCHRONIZE{"{\"method\":\"io.systemd.Journal.Synchronize\"}\0", 44};
constexpr time_t PATIENCE = 10;

/// A connection to one of the journal's sockets.
class Connection {
 public:
  Connection(std::string_view path, int type) : socket_(socket(AF_UNIX, type | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    const timeval patience{PATIENCE, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    isMade_ = connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  }
  ~Connection() {
    if (socket_ >= 0) close(socket_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool IsMade() const { return isMade_; }
  int Socket() const { return socket_; }

 private:
  int socket_;
  bool isMade_ = false;
};

}  // namespace

bool IsJournalThere() { return Connection(ENTRIES, SOCK_DGRAM).IsMade(); }

bool SendToJournal(const std::vector<std::string>& fields) {
  std::vector<iovec> parts(fields.size());
  std::transform(fields.begin(), fields.end(), parts.begin(), [](const std::string& field) {
    return iovec{const_cast<char*>(field.data()), field.size()};
  });
  // The library takes a journal that is not there for one that wants nothing.
  return IsJournalThere() && sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) == 0;
}

JournalSync SyncJournal() {
  const Connection connection(REQUESTS, SOCK_STREAM);
  if (!connection.IsMade()) return IsJournalThere() ? JournalSync::DONE : JournalSync::GONE;
  if (send(connection.Socket(), SYNCHRONIZE.data(), SYNCHRONIZE.size(), MSG_NOSIGNAL) < 0) {
    return errno == EAGAIN ? JournalSync::UNANSWERED : JournalSync::GONE;
  }
  std::array<char, 256> answer{};
  const ssize_t size = recv(connection.Socket(), answer.data(), answer.size(), 0);
  // Any answer will do: a journal that refuses cannot tell more.
  if (size > 0) return JournalSync::DONE;
  return size < 0 && (errno == EAGAIN || errno == EINTR) ? JournalSync::UNANSWERED : JournalSync::GONE;
}

}  // namespace standin
