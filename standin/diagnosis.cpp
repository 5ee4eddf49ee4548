#include "standin/diagnosis.h"

#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "kestrune/kestrune.h"
#include "standin/failure.h"
#include "standin/host/host.h"
#include "standin/host/selfile.h"
#include "standin/logfiles.h"
#include "standin/output/logform.h"

namespace standin {
namespace {

using Notes = std::vector<std::string>;

constexpr const char* CACHE_FILE = "/tmp/._kestrune_cache";
constexpr const char* MERGED_FILE = "/var/log/._app_log_.tmp";

/// The files that a text log is made of.
std::vector<std::string> WantedFiles(uint16_t log) {
  const bool isOther = host->dist == 103 || host->dist == 106;
  return FilesOf(log, isOther ? "/var/log/mail /var/log/news/news.crit /var/log/news/news.err /var/log/news/news.notice"
                              : "/var/log/maillog /var/log/spooler /var/log/cron");
}

bool IsThere(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::string RunAsRoot() { return geteuid() == 0 ? "" : ": run this as root"; }

/// Why nothing of a file is shown, or nothing.
std::string ObstacleOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return path + " is not there";
    return "cannot look at " + path + " (" + std::strerror(errno) + ")" + RunAsRoot();
  }
  if (S_ISDIR(status.st_mode)) return path + " is a folder";
  if (!S_ISREG(status.st_mode)) return path + " is no regular file";
  if (access(path.c_str(), R_OK) != 0) return "no right to read " + path + RunAsRoot();
  return status.st_size == 0 ? path + " is empty" : "";
}

/// Why the module cannot make a file of its own. A process of root replaces what stands in its place.
std::string ObstacleToMake(const std::string& path) {
  const std::string folder = path.substr(0, path.rfind('/'));
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) return folder + " is not there, where the module makes files";
  if ((status.st_mode & S_IWOTH) != 0 && (status.st_mode & S_ISVTX) == 0) {
    return folder + " may be written by all and is not sticky: the module makes no file there";
  }
  if (access(folder.c_str(), W_OK) != 0) return "no right to make " + path + RunAsRoot();
  if (lstat(path.c_str(), &status) != 0 || status.st_uid == geteuid() || geteuid() == 0) return "";
  const passwd* owner = getpwuid(status.st_uid);
  const std::string name = owner != nullptr ? owner->pw_name : std::to_string(status.st_uid);
  return path + ", a file of the module's, belongs to " + name + " here" + RunAsRoot();
}

void AddIfAny(std::string note, Notes& notes) {
  if (!note.empty()) notes.push_back(std::move(note));
}

std::string Part(uint64_t some, const LogForm& form) {
  return ": " + std::to_string(some) + " of the newest " + std::to_string(form.examined);
}

Notes ObstaclesOfText(uint16_t log) {
  Notes notes;
  LogForm form;
  const std::vector<std::string> files = WantedFiles(log);
  const bool isAnyThere = std::ranges::any_of(files, [](const auto& path) { return IsThere(path); });
  for (const std::string& path : files) {
    std::string obstacle = ObstacleOf(path);
    if (obstacle.empty()) ExamineLog(path, form);
    // Of the application's logs a machine need not have all.
    if (!isAnyThere || IsThere(path)) AddIfAny(std::move(obstacle), notes);
  }
  if (!isAnyThere) return notes;
  AddIfAny(ObstacleToMake(CACHE_FILE), notes);
  if (log == LOG_APPLICATION) AddIfAny(ObstacleToMake(MERGED_FILE), notes);
  if (form.lines > NEWEST_LINES) {
    notes.push_back("only the last " + std::to_string(NEWEST_LINES) + " of " + std::to_string(form.lines) +
                    " lines are shown");
  }
  if (form.strange != 0) {
    notes.push_back("lines not in the traditional form, Mmm dd hh:mm:ss host, whose fields are not what they seem" +
                    Part(form.strange, form));
  }
  if (form.noText != 0) {
    notes.push_back("lines that are no text in this locale, whose fields are left empty" + Part(form.noText, form));
  }
  return notes;
}

Notes ObstaclesOfSEL() {
  if (!host->controller->IsPresent()) {
    return {
        "there is no controller here (no device of one, see the kernel modules ipmi_si and ipmi_devintf); --ipmi "
        "names one in the network, --sel a file of records"};
  }
  // Its start finds nothing else out about a controller that is there.
  if (!host->managerIsUp) return {"the resource manager, /usr/zarp/lib/libresmgr.so, did not start"};
  if (host->controller->CountEntries() == 0U) return {"the controller's log is empty"};
  return {};
}

}  // namespace

Notes FindObstacles(uint16_t log) { return log == LOG_SEL ? ObstaclesOfSEL() : ObstaclesOfText(log); }

std::string WhyMissing(uint16_t log) {
  std::string line;
  for (const std::string& note : FindObstacles(log)) line += (line.empty() ? "" : "; ") + note;
  return line.empty() ? "the module does not offer it; --verbose shows what it says" : line;
}

void RequireLogDaemon() {
  sockaddr_un address{AF_UNIX, _PATH_LOG};
  for (const int type : {SOCK_DGRAM, SOCK_STREAM}) {  // as syslog tries
    const int tried = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    const bool isTaken = connect(tried, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    if (tried >= 0) close(tried);
    if (isTaken) return;
  }
  throw Failure(REQUEST_FAILED,
                "write: no log daemon takes messages at " _PATH_LOG " (" + std::string(std::strerror(errno)) + ")");
}

}  // namespace standin
