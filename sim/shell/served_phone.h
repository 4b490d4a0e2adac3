// The modem of a phone, and its AT channel, as long as a shell needs them.
#ifndef SIM_SHELL_SERVED_PHONE_H_
#define SIM_SHELL_SERVED_PHONE_H_

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

  // Opens the AT channel's terminal and listens at the phone's socket, unless another process
  // serves there, which standard error is told. False, and why, when it cannot be. Starts no
  // thread: the caller may fork after it.
  bool start(std::string* why);
  // Serves on threads of its own, from here to stop, which tells standard error of fault rules that
  // no message met.
  void run();
  void stop();

  // The device of the AT channel.
  const std::string& terminal() const { return terminal_.path(); }

 private:
  Phone phone_;
  Descriptor stop_;
  std::unique_ptr<LogFile> log_;
  AtTerminal terminal_;
  std::unique_ptr<AtChannel> channel_;
  std::unique_ptr<Modem> modem_;  // null when another process serves one
  std::unique_ptr<Server> server_;
  std::thread at_thread_, server_thread_;
};

}  // namespace sim

#endif  // SIM_SHELL_SERVED_PHONE_H_
