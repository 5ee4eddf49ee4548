#include "probe/hostfunctions.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host.h"
#include "platform/nubo.h"
#include "probe/findings.h"
#include "probe/imports.h"
#include "probe/memory.h"
#include "probe/realmodule.h"
#include "probe/watch.h"

namespace probe {
namespace {

/// The host's functions, as the module found them.
struct HostFunctions {
  // NOLINTBEGIN(readability-identifier-naming): the names of what they point to
  decltype(&::Output) Output;
  decltype(&::GeneralOSSupportChecking) GeneralOSSupportChecking;
  decltype(&::GetOSDist) GetOSDist;
  decltype(&::gmInitialize) gmInitialize;
  decltype(&::gmUninitialize) gmUninitialize;
  decltype(&::gmGetIPMIInfo) gmGetIPMIInfo;
  decltype(&::gmGetProperty) gmGetProperty;
  decltype(&::gmSELEnumEntry) gmSELEnumEntry;
  decltype(&::gmGetIPMIEntry) gmGetIPMIEntry;
  decltype(&::gmEnterMutex) gmEnterMutex;
  decltype(&::gmExitMutex) gmExitMutex;
  decltype(&::gmExecSensorValue) gmExecSensorValue;
  // NOLINTEND(readability-identifier-naming)
} functions;

/// Calls a function of the host. What it throws is reported and goes on its way; the end of a thread is no exception.
template <typename Function, typename... Args>
auto Call(const char* name, Function* function, Args... args) {
  const HostCall call(name);
  try {
    return function(args...);
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    const OwnWork own;
    Report(Rule::FUNCTION_THROWS, std::string(name) + " threw an exception");
    throw;
  }
}

/// Memory with a border behind it, lent to a function of the host in the place of the module's.
template <typename Record>
class Bordered {
 public:
  explicit Bordered(const Record& content) : record_(content) { border_.fill(BORDER); }
  Record* Get() { return &record_; }
  /// Gives the content to the module and reports what was written behind it.
  void Return(Record* to, const char* name) const {
    *to = record_;
    if (std::any_of(border_.begin(), border_.end(), [](unsigned char byte) { return byte != BORDER; })) {
      const OwnWork own;
      Report(Rule::FUNCTION_SIZE, std::string(name) + " wrote more than " + std::to_string(sizeof(Record)) + " bytes");
    }
  }

 private:
  static constexpr unsigned char BORDER = 0xD7;
  Record record_;
  std::array<unsigned char, 64> border_;
};

// The wrappers.

constexpr size_t MESSAGE_ARGUMENTS = 10;

/// The arguments of a message are texts and integers, each of them one word; they are handed on as they came.
void WrapOutput(int level, const char* format, ...) {
  std::array<long, MESSAGE_ARGUMENTS> word{};
  va_list arguments;
  va_start(arguments, format);
  size_t count = 0;
  for (const char* c = format; *c != '\0' && count < word.size(); ++c) {
    if (*c != '%') continue;
    if (c[1] == '%') {
      ++c;
    } else {
      word.at(count++) = va_arg(arguments, long);
    }
  }
  va_end(arguments);
  const auto& w = word;
  Call("Output", functions.Output, level, format, w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8], w[9]);
}

int WrapGeneralOSSupportChecking() { return Call("GeneralOSSupportChecking", functions.GeneralOSSupportChecking); }
int WrapGetOSDist() { return Call("GetOSDist", functions.GetOSDist); }
int WrapInitialize() { return Call("gmInitialize", functions.gmInitialize); }
int WrapUninitialize() { return Call("gmUninitialize", functions.gmUninitialize); }
int WrapEnterMutex(uint32_t timeout) { return Call("gmEnterMutex", functions.gmEnterMutex, timeout); }
int WrapExitMutex() { return Call("gmExitMutex", functions.gmExitMutex); }

int WrapGetIPMIInfo(tagIPMI_INFO* info) {
  Bordered<tagIPMI_INFO> lent(*info);
  const int result = Call("gmGetIPMIInfo", functions.gmGetIPMIInfo, lent.Get());
  lent.Return(info, "gmGetIPMIInfo");
  return result;
}

int WrapSELEnumEntry(uint32_t* count) {
  Bordered<uint32_t> lent(*count);
  const int result = Call("gmSELEnumEntry", functions.gmSELEnumEntry, lent.Get());
  lent.Return(count, "gmSELEnumEntry");
  if (result != 0 && *count > SEL_ENTRIES_MAX) {
    const OwnWork own;
    Report(Rule::FUNCTION_SIZE, "gmSELEnumEntry told " + std::to_string(*count) + " entries, more than there are IDs");
  }
  return result;
}

int WrapGetIPMIEntry(tagSEL_DATA* entry) {
  const uint16_t wanted = entry->wRecordID;
  Bordered<tagSEL_DATA> lent(*entry);
  const int result = Call("gmGetIPMIEntry", functions.gmGetIPMIEntry, lent.Get());
  lent.Return(entry, "gmGetIPMIEntry");
  if (result != 0 && wanted != 0 && entry->wNextRecordID == wanted) {
    const OwnWork own;
    Report(Rule::FUNCTION_SIZE, "gmGetIPMIEntry told that entry " + std::to_string(wanted) + " follows itself");
  }
  return result;
}

/// The second of the two calls: the text, for which the module has as much room as the first one told.
int GetPropertyText(const char* name, uint32_t* size, char* buffer) {
  const uint32_t told = *size;
  constexpr size_t BORDER_SIZE = 256;
  constexpr char FILLING = '\xD7';
  std::vector<char> lent;
  {
    const OwnWork own;
    lent.assign(told + BORDER_SIZE, FILLING);
    memcpy(lent.data(), buffer, told);
  }
  const int result = Call("gmGetProperty", functions.gmGetProperty, name, size, lent.data());
  const OwnWork own;
  memcpy(buffer, lent.data(), told);
  const auto end = lent.begin() + told;
  const std::string what = std::string("gmGetProperty told a size of ") + std::to_string(told);
  if (std::any_of(end, lent.end(), [](char c) { return c != FILLING; })) {
    Report(Rule::FUNCTION_SIZE, what + " and wrote more");
  } else if (result != 0 && *size != told) {
    Report(Rule::FUNCTION_SIZE, what + " and then of " + std::to_string(*size));
  } else if (result != 0 && std::find(lent.begin(), end, '\0') == end) {
    Report(Rule::FUNCTION_SIZE, what + " and wrote no NUL within it");
  }
  return result;
}

int WrapGetProperty(const char* name, uint32_t* size, char* buffer) {
  if (buffer != nullptr) return GetPropertyText(name, size, buffer);
  return Call("gmGetProperty", functions.gmGetProperty, name, size, buffer);
}

int WrapExecSensorValue(uint32_t sensorID, const char* operation, int count, tagVARIANT* in, tagVARIANT* out) {
  Bordered<tagVARIANT> lent(*out);
  const int result = Call("gmExecSensorValue", functions.gmExecSensorValue, sensorID, operation, count, in, lent.Get());
  lent.Return(out, "gmExecSensorValue");
  return result;
}

/// A function of the host: its name, its wrapper, and where its address is kept.
struct Wrapped {
  std::string_view name;
  void* wrapper;
  void** original;
};

template <typename Function>
Wrapped Wrap(std::string_view name, Function* wrapper, Function*& original) {
  return {name, reinterpret_cast<void*>(wrapper), reinterpret_cast<void**>(&original)};
}

const std::array<Wrapped, 12> WRAPPED{
    {Wrap("Output", WrapOutput, functions.Output),
     Wrap("GeneralOSSupportChecking", WrapGeneralOSSupportChecking, functions.GeneralOSSupportChecking),
     Wrap("GetOSDist", WrapGetOSDist, functions.GetOSDist),
     Wrap("gmInitialize", WrapInitialize, functions.gmInitialize),
     Wrap("gmUninitialize", WrapUninitialize, functions.gmUninitialize),
     Wrap("gmGetIPMIInfo", WrapGetIPMIInfo, functions.gmGetIPMIInfo),
     Wrap("gmGetProperty", WrapGetProperty, functions.gmGetProperty),
     Wrap("gmSELEnumEntry", WrapSELEnumEntry, functions.gmSELEnumEntry),
     Wrap("gmGetIPMIEntry", WrapGetIPMIEntry, functions.gmGetIPMIEntry),
     Wrap("gmEnterMutex", WrapEnterMutex, functions.gmEnterMutex),
     Wrap("gmExitMutex", WrapExitMutex, functions.gmExitMutex),
     Wrap("gmExecSensorValue", WrapExecSensorValue, functions.gmExecSensorValue)}};

}  // namespace

void CheckHostFunctions() {
  for (const Wrapped& wrapped : WRAPPED) {
    const std::string name(wrapped.name);
    if (dlsym(RTLD_DEFAULT, name.c_str()) == nullptr) {
      Report(Rule::FUNCTION_MISSING, "the host exports no " + name + ", without which the module cannot be loaded");
    }
  }
}

void WrapHostFunctions() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(real.SPConfig), &info) == 0) return;
  RedirectImports([&](std::string_view, const void* base) { return base == info.dli_fbase; },
                  [](const void*, std::string_view name, void* before) -> void* {
                    for (const Wrapped& wrapped : WRAPPED) {
                      if (wrapped.name != name) continue;
                      if (before != wrapped.wrapper) *wrapped.original = before;
                      return wrapped.wrapper;
                    }
                    return nullptr;
                  });
}

}  // namespace probe
