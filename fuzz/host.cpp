#include "fuzz/host.h"

#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstdarg>
#include <cstdlib>

#include "platform/host.h"
#include "translate/resmgr.h"

/// One half of the two-call protocol: a null buffer asks for the size.
static int CopyText(const std::string& text, uint32_t* size, char* buffer) {
  if (buffer == nullptr) *size = static_cast<uint32_t>(text.size());
  if (buffer != nullptr) std::ranges::copy(text, buffer);
  return text.empty() ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char* const locale = setlocale(LC_ALL, "C.UTF-8");
  Require(locale != nullptr, "the machine has the locale C.UTF-8");
  g_hRscDll = &g_host;
  g_lpfnGetString = [](auto, auto, char* buffer, uint32_t* needed) { return CopyText(g_host.name, needed, buffer); };
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

HostItems::~HostItems() {
  for (const tagCONFIGITEM& item : *this) delete[] item.pEntries;
}

size_t HostItems::CountFilled() const {
  const auto isUntouched = [](const tagCONFIGITEM& item) {
    return item.pEntries == nullptr && (item.dwIndex & item.dwID & item.dwEntryCount) == 0xA5A5A5A5;
  };
  const auto behind = std::ranges::find_if(*this, isUntouched);
  Require(std::all_of(behind, end(), isUntouched), "the items behind a reply are untouched");
  return static_cast<size_t>(behind - begin());
}

std::string Columns(const std::string& line, size_t from, size_t to) {
  return from < std::min(to, line.size()) ? line.substr(from, to - from) : "";
}

std::string Narrow(const tagCONFIGENTRY& entry) {
  Require(entry.varValue.vt == VT_BSTR, "a text is a string");
  std::string bytes(wcslen(entry.varValue.value.bstrVal) * MB_CUR_MAX + 1, '\0');
  bytes.resize(wcstombs(bytes.data(), entry.varValue.value.bstrVal, bytes.size()));
  return bytes;
}

void RequireText(const tagCONFIGENTRY& entry, uint32_t id, const std::string& text) {
  const bool isValid = mbstowcs(nullptr, text.c_str(), 0) != static_cast<size_t>(-1);
  Require(entry.dwEntryID == id, "entries stand in their order");
  Require(Narrow(entry) == (isValid ? text : ""), "a text is the line's, cut at its columns");
}

extern "C" {

void Output(int, const char* format, ...) {
  char text[8192];
  va_list arguments;
  va_start(arguments, format);
  Require(vsnprintf(text, sizeof(text), format, arguments) > 0, "a message has a text");
  va_end(arguments);
}

void syslog(int priority, const char* format, ...) {
  char text[8192];
  const int used = snprintf(text, sizeof(text), "%d ", priority);
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text + used, 8000, format, arguments);
  va_end(arguments);
  g_host.written.emplace_back(text);
}

int GeneralOSSupportChecking() { return 1; }
int GetOSDist() { return 0; }
int gmInitialize() { return 0; }
int gmUninitialize() { return 1; }
int gmGetIPMIInfo(tagIPMI_INFO*) { return 0; }
int gmGetProperty(const char*, uint32_t* size, char* buffer) { return CopyText(g_host.mapping, size, buffer); }
int gmEnterMutex(uint32_t) { return 1; }
int gmExitMutex() { return 1; }

int gmSELEnumEntry(uint32_t* count) {
  *count = static_cast<uint32_t>(g_host.sel.size());
  return 1;
}

int gmGetIPMIEntry(tagSEL_DATA* entry) {
  const auto found = std::ranges::find(g_host.sel, entry->wRecordID, &tagSEL_DATA::wRecordID);
  if (g_host.sel.empty() || (found == g_host.sel.end() && entry->wRecordID != 0)) return 0;
  *entry = entry->wRecordID == 0 ? g_host.sel.front() : *found;
  return 1;
}

int gmExecSensorValue(uint32_t, const char*, int, tagVARIANT*, tagVARIANT* out) {
  out->value.ullVal = g_host.reading;
  return 1;
}

}  // extern "C"
