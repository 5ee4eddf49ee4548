#include "probe/findings.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <string_view>
#include <system_error>
#include <vector>

namespace probe {
namespace {

/// One finding, in memory that is shared with forked children.
struct Finding {
  std::atomic<bool> isWhole;
  Rule rule;
  std::array<char, 500> what;
};

/// Room for the findings; who makes more mistakes than this has enough to do.
struct Table {
  std::atomic<size_t> used;
  std::array<Finding, 400> findings;
};

/// Its memory has a name, by which a later loading in the same process finds it.
constexpr const char* TABLE_NAME = "kestrune-probe-findings";
bool isLaterLoading = false;

Table* FindEarlierTable() {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    uintptr_t begin = 0, end = 0;
    if (line.find(std::string("/memfd:") + TABLE_NAME) == std::string::npos ||
        sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR, &begin, &end) != 2 || end - begin < sizeof(Table)) {
      continue;
    }
    return reinterpret_cast<Table*>(begin);  // NOLINT(performance-no-int-to-ptr): the kernel tells it as a number
  }
  return nullptr;
}

Table* MakeTable() {
  const int descriptor = memfd_create(TABLE_NAME, MFD_CLOEXEC);
  if (descriptor < 0) return nullptr;
  void* memory = ftruncate(descriptor, sizeof(Table)) != 0
                     ? MAP_FAILED
                     : mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  close(descriptor);
  return memory == MAP_FAILED ? nullptr : new (memory) Table{};
}

Table& Shared() {
  static Table& table = []() -> Table& {
    static Table own{};
    Table* shared = FindEarlierTable();
    isLaterLoading = shared != nullptr;
    if (shared == nullptr) shared = MakeTable();
    return shared == nullptr ? own : *shared;
  }();
  return table;
}

/// Where the report goes, without endings, or empty. Read when the probe is loaded: the host may change its folder and
/// its environment.
std::string reportPath;

std::vector<const Finding*> FindingsOf(Rule rule) {
  std::vector<const Finding*> found;
  const size_t used = std::min(Shared().used.load(), Shared().findings.size());
  for (size_t i = 0; i < used; ++i) {
    const Finding& finding = Shared().findings.at(i);
    if (finding.isWhole && finding.rule == rule) found.push_back(&finding);
  }
  return found;
}

const RuleText& TextOf(Rule rule) { return RULES.at(static_cast<size_t>(rule)); }

bool WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written <= 0) return false;
    text.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

/// Replaces the file at once: a reader never sees half of it. Each thread has a fresh file of its own.
bool ReplaceFile(const std::string& path, const std::string& content) {
  const std::string fresh = path + "." + std::to_string(gettid());
  const int descriptor = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (descriptor < 0) return false;
  const bool isWritten = WriteAll(descriptor, content);
  if (close(descriptor) == 0 && isWritten && rename(fresh.c_str(), path.c_str()) == 0) return true;
  const int error = errno;
  unlink(fresh.c_str());
  errno = error;
  return false;
}

void ReplaceReportFile(const std::string& path, const std::string& content) {
  static std::atomic<bool> isToldOf{false};
  if (ReplaceFile(path, content) || isToldOf.exchange(true)) return;
  WriteAll(STDERR_FILENO,
           "kestrune-probe: cannot write the report '" + path + "': " + std::generic_category().message(errno) + "\n");
}

std::string RenderTap() {
  std::string text = "TAP version 13\n1.." + std::to_string(RULES.size()) + "\n";
  for (const RuleText& rule : RULES) {
    const auto found = FindingsOf(rule.rule);
    text +=
        (found.empty() ? "ok " : "not ok ") + std::to_string(static_cast<size_t>(rule.rule) + 1) + " - " + rule.name;
    text += '\n';
    for (const Finding* finding : found) text += std::string("# ") + finding->what.data() + "\n";
    if (!found.empty()) text += std::string("# right: ") + rule.right + " (host guide, " + rule.section + ")\n";
  }
  return text;
}

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '<') {
      escaped += "&lt;";
    } else if (c == '>') {
      escaped += "&gt;";
    } else if (c == '&') {
      escaped += "&amp;";
    } else if (c == '"') {
      escaped += "&quot;";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string RenderXml() {
  size_t failures = 0;
  std::string cases;
  for (const RuleText& rule : RULES) {
    const auto found = FindingsOf(rule.rule);
    if (!found.empty()) ++failures;
    cases += std::string("  <testcase classname=\"kestrune-probe\" name=\"") + rule.name + "\">\n";
    std::string message;
    for (const Finding* finding : found) message += (message.empty() ? "" : "\n") + std::string(finding->what.data());
    if (!found.empty()) {
      cases += "    <failure message=\"right: " + Escaped(rule.right) + " (host guide, " + Escaped(rule.section) +
               ")\">" + Escaped(message) + "</failure>\n";
    }
    cases += "  </testcase>\n";
  }
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"kestrune-probe\" tests=\"" +
         std::to_string(RULES.size()) + "\" failures=\"" + std::to_string(failures) + "\">\n" + cases +
         "</testsuite>\n";
}

}  // namespace

bool PrepareReport() {
  Shared();
  const char* path = getenv("KESTRUNE_PROBE_REPORT");
  if (path != nullptr && *path != '\0') reportPath = std::filesystem::absolute(path);
  return isLaterLoading;
}

void Report(Rule rule, const std::string& what) {
  std::array<char, sizeof(Finding::what)> line{};
  std::transform(what.begin(), what.begin() + static_cast<ptrdiff_t>(std::min(what.size(), line.size() - 1)),
                 line.begin(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c > '~' ? '?' : c; });
  const auto isSame = [&](const Finding* finding) { return strcmp(finding->what.data(), line.data()) == 0; };
  const auto found = FindingsOf(rule);
  if (std::any_of(found.begin(), found.end(), isSame)) return;
  const size_t place = Shared().used++;
  if (place >= Shared().findings.size()) return;
  Finding& finding = Shared().findings.at(place);
  finding.rule = rule;
  finding.what = line;
  finding.isWhole = true;
  const RuleText& text = TextOf(rule);
  WriteAll(STDERR_FILENO, std::string("kestrune-probe: ") + text.name + ": " + line.data() + "; right: " + text.right +
                              " (host guide, " + text.section + ")\n");
  WriteReport();
}

void WriteReport() {
  if (reportPath.empty()) return;
  // Another thread may have put an older report in the place of this one's, or this one an older one in its place.
  size_t used = 0;
  do {
    used = Shared().used;
    ReplaceReportFile(reportPath + ".tap", RenderTap());
    ReplaceReportFile(reportPath + ".xml", RenderXml());
  } while (used != Shared().used);
}

}  // namespace probe
