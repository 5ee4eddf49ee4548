#include "fuzz/host.h"

#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstdarg>
#include <cstdlib>

#include "standin/host/host.h"
#include "translate/resmgr.h"

namespace {

/// The controller with the log of the input.
class InputLog final : public standin::Controller {
 public:
  std::optional<uint32_t> CountEntries() override { return static_cast<uint32_t>(g_host.sel.size()); }
  bool ReadEntry(tagSEL_DATA& entry) override {
    const auto found = std::ranges::find_if(g_host.sel, [wanted = entry.wRecordID](const tagSEL_DATA& each) {
      return wanted == 0 || each.wRecordID == wanted;
    });
    if (found == g_host.sel.end()) return false;
    entry = *found;
    return true;
  }
  const standin::Sensors& GetSensors() const override { return none_; }

 private:
  standin::Sensors none_;
} g_log;

int GetName(uint16_t, tagGS_PARAM*, char* buffer, uint32_t* size) {
  *size = static_cast<uint32_t>(g_host.name.size());
  if (buffer != nullptr) std::ranges::copy(g_host.name, buffer);
  return g_host.name.empty() ? 0 : 1;
}

bool SetUp() {
  standin::host->initialize = 0;
  standin::host->controller = &g_log;
  standin::host->onOutput = [](int, const std::string& text) { Require(!text.empty(), "a message has a text"); };
  standin::host->sensorTable = [] { return g_host.mapping; };
  standin::host->convert = [](uint32_t, const tagVARIANT&, tagVARIANT* out) { out->value.ullVal = g_host.reading; };
  g_hRscDll = &g_host;
  g_lpfnGetString = GetName;
  return setlocale(LC_ALL, "C.UTF-8") != nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool isSetUp = SetUp();
  Require(isSetUp, "the machine has the locale C.UTF-8");
  g_host = {};
  FuzzedDataProvider input(data, size);
  Fuzz(input);
  return 0;
}

void Require(bool holds, const char* invariant) {
  if (holds) return;
  fprintf(stderr, "FINDING: it does not hold that %s\n", invariant);
  abort();
}

const char* FileWith(const std::string& content) {
  static const int file = memfd_create("input", MFD_CLOEXEC);
  static const std::string path = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(file);
  Require(ftruncate(file, 0) == 0 && pwrite(file, content.data(), content.size(), 0) >= 0, "an input fits a file");
  return path.c_str();
}

size_t HostItems::CountFilled() const {
  const std::optional<size_t> filled = MarkedItems::CountFilled();
  Require(filled.has_value(), "the items behind a reply are untouched");
  return *filled;
}

std::string Columns(const std::string& line, size_t from, size_t to) {
  return from < std::min(to, line.size()) ? line.substr(from, to - from) : "";
}

void RequireText(const tagCONFIGENTRY& entry, uint32_t id, const std::string& text) {
  std::wstring wide(text.size() + 1, L'\0');
  const size_t length = mbstowcs(wide.data(), text.c_str(), wide.size());
  wide.resize(length == static_cast<size_t>(-1) ? 0 : length);
  Require(entry.dwEntryID == id && entry.varValue.vt == VT_BSTR, "entries stand in their order");
  Require(entry.varValue.value.bstrVal == wide, "a text is the line's, cut at its columns");
}

extern "C" void syslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char text[8000];
  vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  g_host.written.push_back(std::to_string(priority) + ' ' + text);
}
