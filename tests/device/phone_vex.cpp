// Stands before the phone's vex on the machine that stands for a phone.
//
//   vex WORDS              /data/local/tmp/vex, with a modem of its own that ends with it, as on a
//   desk refuse ERROR COMMAND   the command, for which opening a QRTR socket fails with this number
//
// The modem is that of $VEX_PHONE; BUS=1 and SHOW_TIME=1 show what transcripts show.

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "device/urgent.h"
#include "sim/phone/log_file.h"
#include "sim/phone/phone_config.h"
#include "sim/services/make_modem.h"
#include "sim/serving/qrtr_server.h"
#include "sim/serving/serve_modem.h"
#include "sim/shell/at_terminal.h"
#include "transcripts/transcript.h"

namespace {

constexpr const char kTool[] = "/data/local/tmp/vex";
constexpr const char kAtChannel[] = "/dev/smd8";

// ---- vex

sim::AtTerminal& terminal() {
  static sim::AtTerminal instance;
  return instance;
}

// /dev/smd8, until `stop` becomes readable.
void serve_at_channel(int stop) {
  desk::be_urgent();
  const sim::Phone phone(std::getenv("VEX_PHONE"));
  std::string why;
  sim::PhoneConfig config;
  sim::LogFile log(phone, "modem.log");
  if (!sim::read_phone(phone, &config, &why)) std::exit(1);
  sim::AtChannel channel(phone, config, [&log](const std::string& line) { log.write(line); });
  terminal().run(channel, stop);
}

// Serves $VEX_PHONE's modem until it is killed. Closes `ready` when it is on the bus.
[[noreturn]] void serve(int ready) {
  desk::be_urgent();
  std::string why;
  const std::unique_ptr<sim::Modem> modem =
      sim::make_modem(sim::Phone(std::getenv("VEX_PHONE")), &why);
  if (modem == nullptr) std::exit(1);
  if (std::getenv("BUS") != nullptr) {
    modem->set_tap([](const qmi_idl_service_object& service, sim::FaultKind kind, sim::Address,
                      sim::Address, std::span<const uint8_t> octets) {
      std::fputs(transcripts::bus_line(service, kind, octets).c_str(), stdout);
      std::fflush(stdout);
    });
  }
  sim::Poller poller;
  sim::QrtrServer bus(*modem, poller);
  if (!bus.publish(&why)) {
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(1);
  }
  int never[2];
  if (::pipe(never) != 0 || !terminal().open(&why)) std::exit(1);
  ::unlink(kAtChannel);
  if (::symlink(terminal().path().c_str(), kAtChannel) != 0 && errno != EEXIST) std::exit(1);
  ::close(ready);
  std::thread(serve_at_channel, never[0]).detach();
  sim::serve_modem(*modem, poller, never[0]);
  std::exit(0);
}

pid_t start_modem() {
  int ready[2];
  if (::pipe(ready) != 0) std::abort();
  const pid_t modem = ::fork();
  if (modem == 0) {
    ::close(ready[0]);
    serve(ready[1]);
  }
  ::close(ready[1]);
  char ignored = 0;
  while (::read(ready[0], &ignored, 1) < 0 && errno == EINTR) {
  }
  ::close(ready[0]);
  return modem;
}

// How long the machine has had nothing to do: it waited for time to pass.
long idle_ms() {
  double up = 0;
  double idle = 0;
  std::ifstream("/proc/uptime") >> up >> idle;
  return static_cast<long>(idle * 1000);
}

// The program at `path`, or on the PATH.
int run_with_modem(const char* path, char** argv) {
  const pid_t modem = start_modem();
  const long begun = idle_ms();
  const int errors = ::memfd_create("errors", MFD_CLOEXEC);
  const pid_t tool = ::fork();
  if (tool == 0) {
    ::dup2(errors, STDERR_FILENO);
    ::execvp(path, argv);
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(tool, &status, 0);
  const long took = idle_ms() - begun;
  ::kill(modem, SIGKILL);
  ::waitpid(modem, nullptr, 0);
  // A desk has no such line: there, what a modem lacks is what phone.toml says.
  std::ifstream lines("/proc/self/fd/" + std::to_string(errors));
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("vex: the modem has no ")) std::fprintf(stderr, "%s\n", line.c_str());
  }
  if (took > desk::kBlurMs && std::getenv("SHOW_TIME") != nullptr)
    std::printf("[after %ld ms]\n", took);
  std::fflush(stdout);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// ---- refuse

int refuse(char** argv) {
  const auto error = static_cast<uint32_t>(std::atoi(argv[1]));
  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_socket, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_QIPCRTR, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter{std::size(rules), rules};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) {
    return 1;
  }
  ::execvp(argv[2], argv + 2);
  return 127;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string name = program_invocation_short_name;
  if (name == "vex") return run_with_modem(kTool, argv);
  if (name == "with-modem" && argc > 1) return run_with_modem(argv[1], argv + 1);
  return argc > 2 ? refuse(argv) : 1;
}
