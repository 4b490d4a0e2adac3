#include "sim/shell/served_phone.h"

#include <sys/eventfd.h>

#include "qcci/link/local_socket.h"
#include "sim/phone/phone_config.h"
#include "sim/phone/report.h"
#include "sim/services/make_modem.h"
#include "sim/serving/serve_modem.h"

namespace sim {
namespace {

using namespace std::chrono_literals;

// Another process that has locked the phone's socket may be about to answer, or to end; both take
// milliseconds.
constexpr auto kChangeTime = 500ms;
constexpr auto kTryTime = 10ms;  // between attempts

}  // namespace

bool ServedPhone::start(std::string* why) {
  PhoneConfig config;
  if (!read_phone(phone_, &config, why) || !terminal_.open(why)) return false;
  log_ = std::make_unique<LogFile>(phone_, "modem.log");
  const auto log = [this](const std::string& line) { log_->write(line); };
  channel_ = std::make_unique<AtChannel>(phone_, config, log);
  stop_ = Descriptor(::eventfd(0, EFD_CLOEXEC));
  const platform::Time deadline = platform::clock().now() + kChangeTime;
  for (;;) {
    if (qcci::LocalSocketLink(Server::socket_path(phone_)).answers()) {
      report("using the modem that another process serves at " + phone_.path(Server::kSocket));
      server_.reset();
      modem_.reset();
      return true;
    }
    if (modem_ == nullptr) {
      modem_ = make_modem(phone_, config);
      modem_->set_log(log);
    }
    server_ = std::make_unique<Server>(*modem_, poller_);
    if (server_->listen(phone_, why)) return true;
    if (platform::clock().now() >= deadline) return false;
    platform::clock().sleep_until(platform::clock().now() + kTryTime);
  }
}

void ServedPhone::run() {
  at_thread_ = std::thread([this] { terminal_.run(*channel_, stop_.get()); });
  if (server_ == nullptr) return;
  server_thread_ = std::thread([this] { serve_modem(*modem_, poller_, stop_.get()); });
}

void ServedPhone::stop() {
  ::eventfd_write(stop_.get(), 1);
  at_thread_.join();
  if (server_ == nullptr) return;
  server_thread_.join();
  server_.reset();
  for (const std::string& line : modem_->unused_fault_rules()) report(line);
}

}  // namespace sim
