/// openipmi.cpp: the library works by callbacks, called from its event loop; here the loop runs while somebody waits.
#include "standin/ipmi/openipmi.h"

#include <OpenIPMI/ipmi_addr.h>
#include <OpenIPMI/ipmi_auth.h>
#include <OpenIPMI/ipmi_conn.h>
#include <OpenIPMI/ipmi_lan.h>
#include <OpenIPMI/ipmi_posix.h>
#include <OpenIPMI/ipmi_smi.h>
#include <OpenIPMI/ipmiif.h>

#include <array>
#include <cerrno>
#include <functional>
#include <new>
#include <string_view>

namespace standin {

/// The library, set up while there are sessions.
class OpenIPMI {
 public:
  static std::shared_ptr<OpenIPMI> Get() {
    static std::weak_ptr<OpenIPMI> current;
    std::shared_ptr<OpenIPMI> library = current.lock();
    if (!library) current = library = std::make_shared<OpenIPMI>();
    return library;
  }

  OpenIPMI() : system_(ipmi_posix_setup_os_handler()) {
    if (system_ == nullptr) throw std::bad_alloc();
    system_->set_log_handler(system_, [](os_handler_t*, const char*, ipmi_log_type_e, va_list) {});  // it tells twice
    originalStartTimer = system_->start_timer;
    system_->start_timer = StartTimer;
    ipmi_init(system_);
  }
  ~OpenIPMI() {
    ipmi_shutdown();
    timeval none{};
    system_->perform_one_op(system_, &none);  // frees what the shutdown put off
    system_->free_os_handler(system_);
  }
  OpenIPMI(const OpenIPMI&) = delete;
  OpenIPMI& operator=(const OpenIPMI&) = delete;

  /// Works until `done` says so or the deadline has come.
  void Run(const std::function<bool()>& done, Deadline deadline) {
    while (!done()) {
      const auto left =
          std::chrono::duration_cast<std::chrono::microseconds>(deadline - Deadline::clock::now()).count();
      if (left <= 0) return;
      timeval time{left / 1000000, left % 1000000};
      system_->perform_one_op(system_, &time);
    }
  }

  os_handler_t* System() const { return system_; }

 private:
  /// Starts a timer, but for that of the library's own questions whether a controller is still there, which would
  /// double what a follower at rest costs: whoever uses a session sees by its own questions that it has ended. It is
  /// the one timer that is as long.
  static int StartTimer(os_handler_t* system, os_hnd_timer_id_t* timer, timeval* time, os_timed_out_t onEnd,
                        void* data) {
    constexpr time_t OWN_QUESTIONS = 10;  // seconds
    constexpr timeval NEVER{std::chrono::seconds(std::chrono::hours(24 * 365)).count(), 0};
    timeval lengthened = time->tv_sec < OWN_QUESTIONS ? *time : NEVER;
    return originalStartTimer(system, timer, &lengthened, onEnd, data);
  }

  static inline decltype(os_handler_t::start_timer) originalStartTimer;
  os_handler_t* system_;
};

namespace {

/// The answer to one command, shared by who waits for it and the library, which may answer when nobody waits any more.
struct Reply {
  bool done = false;
  std::optional<IPMIAnswer> answer;
};

int OnReply(ipmi_con_t* connection, ipmi_msgi_t* item) {
  const std::unique_ptr<std::shared_ptr<Reply>> reply(static_cast<std::shared_ptr<Reply>*>(item->data1));
  (*reply)->done = true;
  const Bytes bytes(item->msg.data, item->msg.data + item->msg.data_len);
  // The library says "timeout" itself when nothing comes back.
  if (connection != nullptr && !bytes.empty() && bytes[0] != IPMI_TIMEOUT) {
    (*reply)->answer = IPMIAnswer{bytes[0], Bytes(bytes.begin() + 1, bytes.end())};
  }
  return IPMI_MSG_ITEM_NOT_USED;
}

/// The text as the library takes it. It changes nothing.
char* Text(const std::string& text) { return const_cast<char*>(text.c_str()); }  // NOLINT

}  // namespace

IPMISession::IPMISession(IPMIProtocol protocol, const std::string& address, const IPMIOptions& options,
                         Deadline deadline)
    : library_(OpenIPMI::Get()) {
  lastError_ = SetUp(protocol, address, options);
  if (lastError_ == 0) {
    library_->Run([this] { return decided_; }, deadline);
    if (!decided_) lastError_ = ETIMEDOUT;
  }
  if (!up_) error_ = IPMILoginError{lastError_, answered_};
}

int IPMISession::SetUp(IPMIProtocol protocol, const std::string& address, const IPMIOptions& options) {
  int error = 0;
  if (protocol == IPMIProtocol::LOCAL) {
    error = ipmi_smi_setup_con(0, library_->System(), nullptr, &connection_);
  } else {
    const std::string port = std::to_string(options.port);
    std::array addresses{Text(address)};
    std::array ports{Text(port)};
    const int method =
        protocol == IPMIProtocol::RMCP_PLUS ? static_cast<int>(IPMI_AUTHTYPE_RMCP_PLUS) : IPMI_AUTHTYPE_MD5;
    std::array parameters{
        ipmi_lanp_parm_t{IPMI_LANP_PARMID_ADDRS, 0, addresses.data(), addresses.size()},
        ipmi_lanp_parm_t{IPMI_LANP_PARMID_PORTS, 0, ports.data(), ports.size()},
        ipmi_lanp_parm_t{IPMI_LANP_PARMID_USERNAME, 0, Text(options.user), static_cast<unsigned>(options.user.size())},
        ipmi_lanp_parm_t{IPMI_LANP_PARMID_PASSWORD, 0, Text(options.password),
                         static_cast<unsigned>(options.password.size())},
        ipmi_lanp_parm_t{IPMI_LANP_PARMID_PRIVILEGE, static_cast<int>(options.privilege), nullptr, 0},
        ipmi_lanp_parm_t{IPMI_LANP_PARMID_AUTHTYPE, method, nullptr, 0}};
    error = ipmi_lanp_setup_con(parameters.data(), parameters.size(), library_->System(), nullptr, &connection_);
  }
  if (error != 0) return error;

  connection_->add_con_change_handler(
      connection_,
      [](ipmi_con_t*, int change, unsigned, int anyPortUp, void* data) {
        auto* session = static_cast<IPMISession*>(data);
        session->decided_ = true;
        session->up_ = change == 0 || anyPortUp != 0;
        session->lastError_ = change;
      },
      this);
  // Its statistics alone tell a controller that is not there from one that does not want us.
  statistics_ = ipmi_ll_con_alloc_stat_info();
  if (connection_->register_stat_handler != nullptr && statistics_ != nullptr) {
    ipmi_ll_con_stat_set_user_data(statistics_, &answered_);
    ipmi_ll_con_stat_info_set_register(
        statistics_, [](ipmi_ll_stat_info_t* info, const char* name, const char*, void** counter) {
          *counter = std::string_view(name) == "lan_recv_packets" ? ipmi_ll_con_stat_get_user_data(info) : nullptr;
          return 0;
        });
    ipmi_ll_con_stat_info_set_unregister(statistics_, [](ipmi_ll_stat_info_t*, void*) {});
    ipmi_ll_con_stat_info_set_adder(statistics_, [](ipmi_ll_stat_info_t*, void* counter, int) {
      if (counter != nullptr) *static_cast<bool*>(counter) = true;
    });
    connection_->register_stat_handler(connection_, statistics_);
  }
  return connection_->start_con(connection_);
}

IPMISession::~IPMISession() {
  if (connection_ != nullptr) {
    // The library closes in the background; nothing of this object may be in its hands any more.
    if (connection_->unregister_stat_handler != nullptr && statistics_ != nullptr) {
      connection_->unregister_stat_handler(connection_, statistics_);
    }
    const auto closed = std::make_unique<bool>(false);
    connection_->close_connection_done(
        connection_, [](ipmi_con_t*, void* data) { *static_cast<bool*>(data) = true; }, closed.get());
    library_->Run([&closed] { return *closed; }, Deadline::clock::now() + std::chrono::seconds(1));
  }
  if (statistics_ != nullptr) ipmi_ll_con_free_stat_info(statistics_);
}

std::optional<IPMIAnswer> IPMISession::Request(const IPMICommand& command, const Bytes& data, Deadline deadline) {
  ipmi_system_interface_addr_t controller{IPMI_SYSTEM_INTERFACE_ADDR_TYPE, IPMI_BMC_CHANNEL, 0};
  Bytes copy = data;
  const ipmi_msg_t message{command.function, command.command, static_cast<uint16_t>(copy.size()), copy.data()};
  ipmi_msgi_t* item = up_ ? ipmi_alloc_msg_item() : nullptr;
  if (item == nullptr) return std::nullopt;
  const auto reply = std::make_shared<Reply>();
  auto forLibrary = std::make_unique<std::shared_ptr<Reply>>(reply);
  item->data1 = forLibrary.get();
  if (connection_->send_command(connection_, reinterpret_cast<ipmi_addr_t*>(&controller), sizeof(controller), &message,
                                OnReply, item) != 0) {
    ipmi_free_msg_item(item);
    return std::nullopt;
  }
  static_cast<void>(forLibrary.release());  // OnReply frees it
  library_->Run([&] { return reply->done || !up_; }, deadline);
  return reply->answer;
}

}  // namespace standin
