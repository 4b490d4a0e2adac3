// The modem of a phone and its AT channel, served while a shell runs.
//
// Threads: start, run and stop are called once each, in this order, on one thread. The modem and
// the AT channel are then used by a thread of their own each.
#pragma once

#include <memory>
#include <string>
#include <thread>

#include "sim/modem/modem.h"
#include "sim/phone/log_file.h"
#include "sim/serving/server.h"
#include "sim/shell/at_terminal.h"

namespace sim {

class ServedPhone {
 public:
  explicit ServedPhone(Phone phone) : phone_(std::move(phone)) {}

  // Opens the AT channel's terminal and listens at the phone's socket; when another process serves
  // the phone, reports on standard error that its modem is used. False, and why, when there can be
  // no phone, terminal or socket. Starts no thread, so the caller may fork afterwards.
  [[nodiscard]] bool start(std::string* why);
  // Serves on threads of its own until stop.
  void run();
  // Ends the threads and reports unused fault rules on standard error.
  void stop();

  // The path of the AT channel's device.
  const std::string& terminal() const { return terminal_.path(); }

 private:
  Phone phone_;
  Descriptor stop_;
  std::unique_ptr<LogFile> log_;
  AtTerminal terminal_;
  std::unique_ptr<AtChannel> channel_;
  std::unique_ptr<Modem> modem_;  // null when another process serves one
  Poller poller_;
  std::unique_ptr<Server> server_;
  std::thread at_thread_, server_thread_;
};

}  // namespace sim
