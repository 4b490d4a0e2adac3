// Runs transcripts (transcripts/transcript.h) on a machine that stands for a phone: the program for
// phones, over the kernel's QRTR bus, to a modem in another process (phone_vex.cpp).
//
//   usage: device_runner FILE...
//
// Time is the machine's own, which passes over every wait at once: "[after N ms]" is how long
// nothing ran, about. logd's socket is here too: what it gets is the phone's system.log.

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <regex>

#include "device/urgent.h"
#include "transcripts/transcript.h"

namespace {

class Log {
 public:
  static constexpr const char kSocket[] = "/dev/socket/logdw";
  Log() : fd_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{AF_UNIX, {}};
    std::memcpy(address.sun_path, kSocket, sizeof kSocket);
    const int on = 1;
    if (::bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::setsockopt(fd_, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0) {
      std::abort();
    }
  }
  // Takes what comes until there is something to read from the other descriptor.
  void wait(int other, const std::string& root) const {
    for (;;) {
      pollfd ready[] = {{fd_, POLLIN, 0}, {other, POLLIN, 0}};
      ::poll(ready, 2, -1);
      if (ready[0].revents == 0) return;
      take(root);
    }
  }

 private:
  // As `logcat` reads it: a head of 11 octets, the priority, then the tag and the message, each
  // with its zero.
  void take(const std::string& root) const {
    char octets[8192];
    alignas(cmsghdr) char control[256];
    iovec room{octets, sizeof octets};
    msghdr message{};
    message.msg_iov = &room;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t got = ::recvmsg(fd_, &message, 0);
    ucred sender{};
    if (const cmsghdr* head = CMSG_FIRSTHDR(&message); head != nullptr) {
      std::memcpy(&sender, CMSG_DATA(head), sizeof sender);
    }
    uint32_t seconds = 0;
    uint32_t nanoseconds = 0;
    std::memcpy(&seconds, octets + 3, sizeof seconds);
    std::memcpy(&nanoseconds, octets + 7, sizeof nanoseconds);
    const bool good = got > 16 && octets[0] == 1 && std::strcmp(octets + 12, "vex") == 0 &&
                      octets[got - 1] == '\0' && std::abs(::time(nullptr) - time_t{seconds}) < 60;
    const auto at = static_cast<time_t>(seconds);
    char time[64];
    std::strftime(time, sizeof time, "%Y-%m-%d %H:%M:%S", std::localtime(&at));
    char head[128];
    std::snprintf(head, sizeof head, "%s.%03u %5d %c ", time, nanoseconds / 1000000, sender.pid,
                  !good             ? '?'
                  : octets[11] == 3 ? 'D'
                  : octets[11] == 6 ? 'E'
                                    : '?');
    const std::string text = std::regex_replace(octets + 16, std::regex("\n"), "\\n");
    std::ofstream(root + "/log/system.log", std::ios::app) << head << text << "\n";
  }

  int fd_;
};

// Times of the machine as a desk has them, where they are the same but for the work.
std::string on_a_desk(std::string output, const std::string& expected) {
  static const std::regex kTime("\\[after ([0-9]+) ms\\]");
  std::smatch wanted;
  std::smatch got;
  if (!std::regex_search(expected, wanted, kTime)) return output;
  const long want = std::stol(wanted[1]);
  if (!std::regex_search(output, got, kTime)) {
    return want <= desk::kBlurMs ? output + wanted.str() + "\n" : output;
  }
  const long have = std::stol(got[1]);
  if (have < want - desk::kBlurMs || have > want + desk::kBlurMs + want / 50) return output;
  return output.replace(static_cast<size_t>(got.position()), static_cast<size_t>(got.length()),
                        wanted.str());
}

}  // namespace

int main(int argc, char** argv) {
  ::setenv("VEX_SHELL_LEVELS", "11", 1);
  const Log log;
  desk::be_urgent();
  const auto run = [&log](const transcripts::Step& step, const std::string& root) {
    std::string call;
    std::string filter;
    const bool timed = transcripts::is_vex(step.command, &call, &filter);
    const std::string line = (timed ? "SHOW_TIME=1 " : "") + step.command;
    const std::string output = transcripts::output_of(
        [&] {
          ::execlp("sh", "sh", "-c", line.c_str(), nullptr);
          return 127;
        },
        [&](int fd) { log.wait(fd, root); });
    return on_a_desk(output, step.expected);
  };
  const std::span<char* const> words(argv, static_cast<size_t>(argc));
  return transcripts::run_files(words.subspan(1), run) ? 0 : 1;
}
