#include "probe/findings.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
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

Table& Shared() {
  static Table& table = []() -> Table& {
    void* memory = mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    static Table own{};
    return memory == MAP_FAILED ? own : *new (memory) Table{};
  }();
  return table;
}

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

void WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written <= 0) return;
    text.remove_prefix(static_cast<size_t>(written));
  }
}

/// Replaces the file at once: a reader never sees half of it.
void ReplaceFile(const std::string& path, const std::string& content) {
  const std::string fresh = path + "." + std::to_string(getpid());
  const int descriptor = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (descriptor < 0) return;
  WriteAll(descriptor, content);
  close(descriptor);
  rename(fresh.c_str(), path.c_str());
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

void PrepareReport() { Shared(); }

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
  const char* path = getenv("KESTRUNE_PROBE_REPORT");
  if (path == nullptr || *path == '\0') return;
  ReplaceFile(std::string(path) + ".tap", RenderTap());
  ReplaceFile(std::string(path) + ".xml", RenderXml());
}

}  // namespace probe
