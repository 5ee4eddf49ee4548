/// watch.h: the host's functions that are running, and how long they have been.
#ifndef KESTRUNE_PROBE_WATCH_H_
#define KESTRUNE_PROBE_WATCH_H_

namespace probe {

/// A call of one of the host's functions, from its begin to its end. `name` lives as long as the process.
class HostCall {
 public:
  explicit HostCall(const char* name);
  ~HostCall();
  HostCall(const HostCall&) = delete;
  HostCall& operator=(const HostCall&) = delete;

 private:
  const char* before_;
  int place_;
};

}  // namespace probe

#endif  // KESTRUNE_PROBE_WATCH_H_
