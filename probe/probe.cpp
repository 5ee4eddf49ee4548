/// probe.cpp: the probe's exported surface: the module's names. Each call is looked at and goes on to the real module.
#include <errno.h>
#include <fcntl.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>
#include <thread>

#include "probe/arguments.h"
#include "probe/calls.h"
#include "probe/findings.h"
#include "probe/hostfunctions.h"
#include "probe/imports.h"
#include "probe/memory.h"
#include "probe/ownership.h"
#include "probe/protocol.h"
#include "probe/realmodule.h"
#include "probe/request.h"
#include "probe/trace.h"
#include "probe/trouble.h"

using probe::LockedCall;
using probe::OwnWork;
using probe::real;
using probe::Report;
using probe::Request;
using probe::Rule;
using probe::State;
using probe::state;
using probe::TracedCall;

namespace {

/// How long a thread may be on its way through an import that led into the probe, before its code goes.
constexpr std::chrono::milliseconds ON_THEIR_WAY{10};

/// Begins when the probe is loaded and ends when it is unloaded.
class Presence {
 public:
  Presence() {
    const OwnWork own;
    const bool isLaterLoading = probe::PrepareReport();
    const char* path = getenv("KESTRUNE_PROBE_TRACE");
    if (path != nullptr && *path != '\0' && !probe::OpenTrace(path, isLaterLoading ? O_APPEND : O_TRUNC)) {
      const std::string reason = std::generic_category().message(errno);
      fprintf(stderr, "kestrune-probe: cannot write the trace '%s': %s\n", path, reason.c_str());
    }
    probe::ReadTrouble();
    probe::CheckHostFunctions();
    if (!probe::LoadRealModule()) return;
    probe::WrapHostFunctions();
    probe::WatchMemory();
    probe::PrepareForForks();
    probe::CopyData();
  }

  ~Presence() {
    const OwnWork own;
    // A forked child that ends has no findings of its own, and no watcher.
    if (probe::IsOwnProcess()) {
      probe::EndWatch();
      if (state == State::STARTED) {
        Report(Rule::NOT_STOPPED, "the module was unloaded, or its process ended, without SPUninitialize");
      }
      probe::WriteReport();
    }
    probe::RestoreImports();
    probe::LeaveMemory();
    std::this_thread::sleep_for(ON_THEIR_WAY);
    probe::ForgetAll();
    probe::UnloadRealModule();
    probe::CloseTrace();
  }

  Presence(const Presence&) = delete;
  Presence& operator=(const Presence&) = delete;
} presence;

/// A call: its number, and the words for it in findings.
struct Named {
  explicit Named(const std::string& name)
      : number(probe::NextCall()), what(name + " (call " + std::to_string(number) + ")") {}
  uint32_t number;
  std::string what;
};

/// Reports a request that comes when the module is not started.
void CheckState(const std::string& what) {
  if (state == State::NEVER_STARTED) Report(Rule::NOT_STARTED, what + " came before the start");
  if (state == State::STOPPED) Report(Rule::AFTER_STOP, what + " came after the stop");
  if (state == State::REFUSED) Report(Rule::REFUSAL_IGNORED, what + " came although the start had been refused");
}

/// Sends a request to the real module with `ask` and looks at what comes of it.
template <typename Ask>
int32_t Answer(const char* name, const Request& request, const Named& named, Ask ask) {
  const std::string& what = named.what;
  TracedCall traced(name, request);
  {
    const OwnWork own;
    probe::WatchMemory();
    probe::CheckArguments(request, what);
    probe::CheckTurn(request, what);
  }
  const char* trouble = nullptr;
  const int32_t result = real.SPConfig == nullptr ? 0 : probe::AnswerWithTrouble(request, ask, &trouble);
  const OwnWork own;
  probe::NoteAnswer(request, result, what);
  if (result != 0 && request.HasItems() && request.array != nullptr) {
    probe::GiveItems(request.Items(), *request.count, named.number, what);
  }
  probe::CopyData();
  if (trouble != nullptr) traced.Add("trouble", trouble);
  traced.End(result, request);
  return result;
}

void Give(BSTR string, const char* name) {
  const OwnWork own;
  const Named named(name);
  probe::GiveString(string, named.number, named.what);
}

/// Has the real module make a string in one of its two forms.
template <typename Character>
BSTR Allocate(BSTR (*allocate)(const Character*), const Character* text) {
  TracedCall traced("SysAllocString");
  BSTR result = allocate == nullptr ? nullptr : allocate(text);
  Give(result, "SysAllocString");
  traced.End();
  return result;
}

}  // namespace

int32_t SPInitialize(const uint64_t* settings, uint32_t* out) {
  const std::string what = Named("SPInitialize").what;
  const LockedCall call(what);
  TracedCall traced("SPInitialize");
  if (settings != nullptr) traced.Add("settings", *settings);
  if (state == State::STARTED) Report(Rule::START_TWICE, what + " came while the module was started");
  int32_t result = 0;
  if (real.SPInitialize != nullptr && !call.WouldHang()) {
    probe::BeginWatch();
    result = real.SPInitialize(settings, out);
    state = result != 0 ? State::STARTED : State::REFUSED;
  }
  const OwnWork own;
  probe::CopyData();
  traced.End(result);
  return result;
}

int32_t SPUninitialize() {
  const std::string what = Named("SPUninitialize").what;
  const LockedCall call(what);
  TracedCall traced("SPUninitialize");
  if (state != State::STARTED) Report(Rule::STOP_WITHOUT_START, what + " came while the module was not started");
  int32_t result = 0;
  if (real.SPUninitialize != nullptr && !call.WouldHang()) {
    result = real.SPUninitialize();
    if (result != 0) state = State::STOPPED;
  }
  const OwnWork own;
  if (result != 0 && probe::IsOwnProcess()) {
    probe::EndWatch();
    probe::ReportUnfetched();
    probe::ReportLeft();
    probe::WriteReport();
  }
  probe::CopyData();
  traced.End(result);
  return result;
}

int32_t SPConfig(uint32_t op, const char* request, void* pArg1, void* pArg2, void* pArg3) {
  const Request read = probe::ReadRequest(op, request, pArg1, pArg2, pArg3);
  const Named named(Describe(read));
  const LockedCall call(named.what);
  if (call.WouldHang()) return 0;
  CheckState(named.what);
  return Answer("SPConfig", read, named, [&] { return real.SPConfig(op, request, pArg1, pArg2, pArg3); });
}

int32_t DefSPConfigHandler(uint8_t op, const char* request, void* pArg1, void* pArg2, void* pArg3) {
  const Request read = probe::ReadRequest(op, request, pArg1, pArg2, pArg3);
  const Named named(Describe(read));
  probe::CheckCaller(named.what);
  return Answer("DefSPConfigHandler", read, named,
                [&] { return real.DefSPConfigHandler(op, request, pArg1, pArg2, pArg3); });
}

void ShowBMCSELLogDebug() {
  const LockedCall call(Named("ShowBMCSELLogDebug").what);
  TracedCall traced("ShowBMCSELLogDebug");
  if (real.ShowBMCSELLogDebug != nullptr && !call.WouldHang()) real.ShowBMCSELLogDebug();
  traced.End();
}

int64_t VariantCopy(tagVARIANT* destination, const tagVARIANT* source) {
  TracedCall traced("VariantCopy");
  const int64_t result = real.VariantCopy == nullptr ? 0 : real.VariantCopy(destination, source);
  if (destination->vt == VT_BSTR) Give(destination->value.bstrVal, "VariantCopy");
  traced.Add("type", source->vt).End(result);
  return result;
}

int64_t VariantClear(tagVARIANT* variant) {
  TracedCall traced("VariantClear");
  traced.Add("type", variant->vt);
  const int64_t result = real.VariantClear == nullptr ? 0 : real.VariantClear(variant);
  traced.End(result);
  return result;
}

uint64_t GetTickCount() {
  TracedCall traced("GetTickCount");
  const uint64_t result = real.GetTickCount == nullptr ? 0 : real.GetTickCount();
  traced.End(static_cast<int64_t>(result));
  return result;
}

void Sleep(uint32_t milliseconds) {
  TracedCall traced("Sleep");
  traced.Add("milliseconds", milliseconds);
  if (real.Sleep != nullptr) real.Sleep(milliseconds);
  traced.End();
}

char* sprintwcs(char* destination, const wchar_t* source, uint32_t limit) {
  TracedCall traced("sprintwcs");
  traced.Add("limit", limit);
  char* result = real.sprintwcs == nullptr ? destination : real.sprintwcs(destination, source, limit);
  traced.End();
  return result;
}

BSTR SysAllocString(const wchar_t* text) { return Allocate(real.allocWide, text); }

BSTR SysAllocString(const char* text) { return Allocate(real.allocMultibyte, text); }
