// A simulated phone that a process of its own publishes on the kernel's QRTR bus.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "support/desk.h"

namespace desk {

class ServedPhone {
 public:
  // The default phone, with `toml` for its phone.toml unless that is empty.
  explicit ServedPhone(std::string_view toml = "") {
    std::string why;
    EXPECT_TRUE(directory_.phone().prepare(&why)) << why;
    if (!toml.empty()) directory_.write("phone.toml", toml);
    start();
  }
  ~ServedPhone() {
    if (process_ <= 0) return;
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
  }
  ServedPhone(const ServedPhone&) = delete;
  ServedPhone& operator=(const ServedPhone&) = delete;

  // It takes no notice of anything from then on.
  void pause() const { ::kill(process_, SIGSTOP); }
  void go_on() const { ::kill(process_, SIGCONT); }

  const std::string& root() const { return directory_.root(); }
  const PhoneDirectory& directory() const { return directory_; }
  // How often the modem's trace has the text so far.
  size_t traced(std::string_view text) const {
    const std::string trace = directory_.file("trace");
    size_t found = 0;
    for (size_t at = 0; (at = trace.find(text, at)) != std::string::npos; at += text.size()) {
      ++found;
    }
    return found;
  }

 private:
  // Returns when the services are on the bus.
  void start() {
    process_ = ::fork();
    if (process_ == 0) {
      const int out = ::open((root() + "/trace").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
      ::dup2(out, STDOUT_FILENO);
      ::dup2(out, STDERR_FILENO);
      // On the kernel's own node, or on one of its own.
      const char* const node = std::getenv("VEX_TEST_NODE");
      ::execlp("vex-phone", "vex-phone", "serve", "--trace",
               node == nullptr ? "--qrtr" : "--qrtr-node", node, nullptr);
      ::_exit(127);
    }
    while (traced("published on the QRTR bus") == 0) {
      if (::waitpid(process_, nullptr, WNOHANG) != 0) {
        process_ = -1;
        FAIL() << "no phone is served: " << directory_.file("trace");
      }
      ::usleep(5000);
    }
  }
  PhoneDirectory directory_;
  pid_t process_ = -1;
};

}  // namespace desk
