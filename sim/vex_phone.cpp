// vex-phone: makes, serves and shows a simulated phone, and runs a shell in it.
//
// Exit status: 0, 1 for a failure, 2 for unknown words; that of the shell is in phone_shell.h.

#include <signal.h>
#include <sys/signalfd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <sstream>

#include "qcci/idl/service.h"
#include "show.h"
#include "sim/config/phone_toml.h"
#include "sim/phone/report.h"
#include "sim/services/make_modem.h"
#include "sim/serving/qrtr_node.h"
#include "sim/serving/qrtr_server.h"
#include "sim/serving/serve_modem.h"
#include "sim/serving/server.h"
#include "sim/shell/phone_shell.h"
#include "traffic/file/capture.h"
#include "traffic/link/process_capture.h"
#include "traffic/view/print.h"

namespace {

using sim::Phone;

// Exit statuses: what was asked for failed, or was not understood.
constexpr int kFailed = 1;
constexpr int kUsage = 2;

int fail(const std::string& why) {
  sim::report(why);
  return kFailed;
}

int refuse(const std::string& why) {
  sim::report(why + " (vex-phone --help lists what there is)");
  return kUsage;
}

// Flushes standard output. False, and why, when a write failed.
[[nodiscard]] bool flush_output(std::string* why) {
  const bool flushed = std::fflush(stdout) == 0;
  if (flushed && std::ferror(stdout) == 0) return true;
  *why = std::string("standard output: ") + (flushed ? "a write failed" : std::strerror(errno));
  return false;
}

int init(const Phone& phone) {
  std::string why;
  if (!phone.prepare(&why)) return fail(why);
  std::printf("%s\n", phone.root().c_str());
  return 0;
}

// The modem's side of the bus, as a capture has it.
traffic::FrameHead head_of(const qmi_idl_service_object& service, sim::FaultKind kind,
                           sim::Address client, sim::Address server) {
  traffic::FrameHead head;
  head.to_client = kind != sim::FaultKind::kRequest;
  head.service = service.id;
  head.instance = qcci::instance_field(static_cast<uint32_t>(service.major), 0);
  head.from = head.to_client ? server : client;
  head.to = head.to_client ? client : server;
  return head;
}

struct Serving {
  bool trace = false;
  std::string capture;  // a file's path, or empty
  bool qrtr = false;
  std::optional<uint32_t> node;  // the number of a node of its own on the QRTR bus
};

int serve(const Phone& phone, const Serving& wanted) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  const sim::Descriptor stop(::signalfd(-1, &signals, SFD_CLOEXEC));

  std::string why;
  const std::unique_ptr<sim::Modem> modem = sim::make_modem(phone, &why);
  if (modem == nullptr) return fail(why);
  std::unique_ptr<traffic::Capture> capture;
  if (!wanted.capture.empty()) {
    capture =
        traffic::Capture::open(wanted.capture, "vex-phone", traffic::command_line(), sim::report);
  }
  traffic::Printer printer({});
  modem->set_log([&capture](const std::string& line) {
    sim::report(line);
    if (capture != nullptr) capture->note(line);
  });
  modem->set_tap([&](const qmi_idl_service_object& service, sim::FaultKind kind,
                     sim::Address client, sim::Address server, std::span<const uint8_t> octets) {
    traffic::Frame frame{head_of(service, kind, client, server), {}, {}};
    if (capture != nullptr) capture->write(frame, octets);
    if (!wanted.trace) return;
    frame.time_ns = traffic::now_ns();
    frame.octets.assign(octets.begin(), octets.end());
    std::fputs(printer.lines(frame).c_str(), stdout);
    std::fflush(stdout);
  });
  sim::Poller poller;
  sim::Server server(*modem, poller);
  if (!server.listen(phone, &why)) return fail(why);
  sim::QrtrServer bus(*modem, poller);
  if (wanted.qrtr && !bus.publish(&why)) return fail(why);
  sim::QrtrNode remote(*modem, poller, wanted.node.value_or(0));
  if (wanted.node && !remote.publish(&why)) return fail(why);
  std::printf("listening on %s\n", phone.path(sim::Server::kSocket).c_str());
  if (wanted.qrtr) std::printf("published on the QRTR bus\n");
  if (wanted.node) std::printf("published on the QRTR bus as node %u\n", *wanted.node);
  if (!flush_output(&why)) return fail(why);
  sim::serve_modem(*modem, poller, stop.get());
  for (const std::string& line : modem->unused_fault_rules()) sim::report(line);
  return 0;
}

int run(int argc, char** argv) {
  CLI::App app{"The simulated phone that vex talks to on a desk"};
  app.require_subcommand(1);
  app.set_version_flag("--version", "vex-phone " VEX_VERSION);
  std::string directory = Phone::default_root();
  app.add_option("--phone", directory, "The phone's directory ($VEX_PHONE)")->capture_default_str();
  int result = 0;
  app.add_subcommand("init", "Make the phone, if it is not there, and say where it is")
      ->fallthrough()
      ->callback([&] { result = init(Phone(directory)); });
  Serving wanted;
  CLI::App* serving = app.add_subcommand("serve", "Run its modem for other processes");
  serving->fallthrough();
  serving->add_flag("--trace", wanted.trace, "Print every message");
  serving->add_option("--capture", wanted.capture, "Append every message to a pcapng file");
  CLI::Option* const on_bus =
      serving->add_flag("--qrtr", wanted.qrtr, "Publish its services on the kernel's QRTR bus too");
  serving
      ->add_option("--qrtr-node", wanted.node,
                   "Be this node of the bus, as a phone's modem is node 0")
      ->excludes(on_bus);
  serving->callback([&] { result = serve(Phone(directory), wanted); });
  app.add_subcommand("show", "Print what the phone holds")->fallthrough()->callback([&] {
    std::string why;
    if (!sim::show(Phone(directory), &why)) result = fail(why);
  });
  app.add_subcommand("keys", "Print the keys that phone.toml may have, as Markdown")->callback([] {
    std::fputs(sim::keys_page().c_str(), stdout);
  });
  CLI::App* shell = app.add_subcommand(
      "shell", "Run $SHELL, or the COMMAND that follows, where the phone is at its device paths");
  shell->prefix_command();
  shell->callback([&] { result = sim::run_phone_shell(Phone(directory), shell->remaining()); });
  // All words behind "shell" are the command's, options included. A "--" before them, which is not
  // needed, is dropped.
  std::vector<char*> words(argv, argv + argc);
  for (size_t i = 1; i + 1 < words.size(); ++i) {
    if (std::strcmp(words[i], "shell") != 0) continue;
    if (std::strcmp(words[i + 1], "--") == 0)
      words.erase(words.begin() + static_cast<ptrdiff_t>(i) + 1);
    break;
  }
  try {
    app.parse(static_cast<int>(words.size()), words.data());
  } catch (const CLI::RequiredError&) {
    const std::vector<std::string> unknown = app.remaining();
    return refuse(unknown.empty() ? "no sub-command" : "unknown: " + unknown[0]);
  } catch (const CLI::Success& asked) {
    std::ostringstream text;  // the help or the version
    const int status = app.exit(asked, text);
    std::fputs(text.str().c_str(), stdout);
    return status;
  } catch (const CLI::ParseError& error) {
    return refuse(error.what());
  }
  return result;
}

}  // namespace

// Only a lack of memory throws, and ends the program.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
  if (argc > 3 && std::strcmp(argv[1], sim::kEnterPhoneShell) == 0) {
    return sim::enter_phone_shell(argv + 2);
  }
  const int result = run(argc, argv);
  std::string why;
  return result == 0 && !flush_output(&why) ? fail(why) : result;
}
