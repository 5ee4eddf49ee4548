#include "probe/trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace probe {
namespace {

/// The open file, or -1.
std::atomic<int> file{-1};
std::chrono::steady_clock::time_point opened;

void Quote(std::string& line, std::string_view text) {
  line += '"';
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\' || static_cast<unsigned char>(c) > '~') {
      std::array<char, 8> escape{};
      snprintf(escape.data(), escape.size(), "\\u%04X", static_cast<unsigned int>(static_cast<unsigned char>(c)));
      line += escape.data();
    } else {
      line += c;
    }
  }
  line += '"';
}

double Milliseconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

}  // namespace

bool OpenTrace(const char* path, int how) {
  const int lowest = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | how, 0644);
  if (lowest < 0) return false;
  // Of the standard streams' descriptors none is taken: whether the host has them open is looked at.
  const int descriptor = lowest > STDERR_FILENO ? lowest : fcntl(lowest, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (descriptor != lowest) close(lowest);
  if (descriptor < 0) return false;
  opened = std::chrono::steady_clock::now();
  file = descriptor;
  return true;
}

void CloseTrace() {
  const int descriptor = file.exchange(-1);
  if (descriptor >= 0) close(descriptor);
}

TracedCall::TracedCall(const char* name) : isOn_(file >= 0), begin_(std::chrono::steady_clock::now()) {
  if (!isOn_) return;
  line_ = "{\"call\": ";
  Quote(line_, name);
}

TracedCall::TracedCall(const char* name, const Request& request) : TracedCall(name) {
  if (!isOn_) return;
  Add("operation", request.operation);
  Add("request", request.name);
  if (request.operation == SP_OP_SET) AddSettings(request);
  if (request.identifier != nullptr) {
    Add("form", request.identifier->dwIDVType);
    Add("id", request.Log() & 0xFFFFFFFF);
    if (request.Log() >> 32 != 0) Add("index", request.Log() >> 32);
  }
  if (request.range != nullptr) Add("begin", request.range->dwBegin).Add("end", request.range->dwEnd);
  if (request.count != nullptr) Add("capacity", *request.count);
  if (request.HasCount()) {
    line_ += request.array == nullptr ? ", \"array\": false" : ", \"array\": true";
  }
}

TracedCall& TracedCall::Add(const char* name, uint64_t number) {
  if (isOn_) line_ += std::string(", \"") + name + "\": " + std::to_string(number);
  return *this;
}

TracedCall& TracedCall::Add(const char* name, const char* text) {
  if (!isOn_) return *this;
  line_ += std::string(", \"") + name + "\": ";
  if (text == nullptr) {
    line_ += "null";
  } else {
    Quote(line_, text);
  }
  return *this;
}

void TracedCall::AddSettings(const Request& request) {
  if (!isOn_ || request.settings == nullptr) return;
  uint64_t word = 0;
  memcpy(&word, request.settings, sizeof(word));
  Add("settings", word);
}

void TracedCall::End() {
  if (!isOn_) return;
  std::array<char, 96> rest{};
  snprintf(rest.data(), rest.size(), ", \"at_ms\": %lld, \"took_us\": %lld, \"thread\": %d}\n",
           static_cast<long long>(Milliseconds(begin_ - opened)),
           static_cast<long long>(1000 * Milliseconds(std::chrono::steady_clock::now() - begin_)), gettid());
  line_ += rest.data();
  [[maybe_unused]] const ssize_t written = write(file, line_.data(), line_.size());
}

void TracedCall::End(int64_t result) { Add("result", static_cast<uint64_t>(result)).End(); }

void TracedCall::End(int64_t result, const Request& request) {
  Add("result", static_cast<uint64_t>(result));
  if (request.operation == SP_OP_GET) AddSettings(request);
  if (request.count != nullptr) Add("count", *request.count);
  if (request.range != nullptr) Add("begin_out", request.range->dwBegin).Add("end_out", request.range->dwEnd);
  End();
}

}  // namespace probe
