// A simulated phone whose modem is served over the local socket by a thread of this process.
#pragma once

#include <sys/eventfd.h>

#include <memory>
#include <string>
#include <thread>

#include "sim/phone/phone.h"
#include "sim/services/make_modem.h"
#include "sim/serving/serve_modem.h"
#include "sim/serving/server.h"

namespace bench {

class ServedModem {
 public:
  // Of the phone in this directory. It serves when good() says so.
  explicit ServedModem(const std::string& root) : phone_(root), stop_(::eventfd(0, EFD_CLOEXEC)) {
    std::string why;
    modem_ = sim::make_modem(phone_, &why);
    if (modem_ == nullptr) return;
    server_ = std::make_unique<sim::Server>(*modem_, poller_);
    if (!server_->listen(phone_, &why)) return;
    serving_ = std::thread([this] { sim::serve_modem(*modem_, poller_, stop_.get()); });
  }
  ~ServedModem() {
    if (!good()) return;
    ::eventfd_write(stop_.get(), 1);
    serving_.join();
  }
  ServedModem(const ServedModem&) = delete;
  ServedModem& operator=(const ServedModem&) = delete;

  bool good() const { return serving_.joinable(); }
  std::string path() const { return phone_.path("modem.sock"); }

 private:
  const sim::Phone phone_;
  const sim::Descriptor stop_;
  std::shared_ptr<sim::Modem> modem_;
  sim::Poller poller_;
  std::unique_ptr<sim::Server> server_;
  std::thread serving_;
};

}  // namespace bench
