#include "serve.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/signalfd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "output.h"
#include "qcci/idl/service.h"
#include "ready.h"
#include "sim/control/control_server.h"
#include "sim/phone/log_file.h"
#include "sim/phone/phone_config.h"
#include "sim/phone/report.h"
#include "sim/replay/replay_modem.h"
#include "sim/services/make_modem.h"
#include "sim/serving/qrtr_node.h"
#include "sim/serving/qrtr_server.h"
#include "sim/serving/serve_modem.h"
#include "sim/serving/server.h"
#include "traffic/file/capture.h"
#include "traffic/link/process_capture.h"
#include "traffic/view/print.h"

namespace sim {
namespace {

// Shows and captures what passes.
class Witness {
 public:
  Witness(const Phone& phone, const Serving& wanted)
      : log_(phone, "modem.log"), trace_(wanted.trace) {
    if (wanted.capture.empty()) return;
    capture_ = traffic::Capture::open(wanted.capture, "vex-phone", traffic::command_line(), report);
  }

  void say(const std::string& line) {
    report(line);
    log_.write(line);
    if (capture_ != nullptr) capture_->note(line);
  }

  void see(const traffic::FrameHead& head, std::span<const uint8_t> octets) {
    if (capture_ != nullptr) capture_->write(head, octets);
    if (!trace_) return;
    traffic::Frame frame{head, {octets.begin(), octets.end()}, {}};
    frame.time_ns = traffic::now_ns();
    std::fputs(printer_.lines(frame).c_str(), stdout);
    std::fflush(stdout);
  }

 private:
  const LogFile log_;
  const bool trace_;
  std::unique_ptr<traffic::Capture> capture_;
  traffic::Printer printer_{{}};
};

// The modem's side of the bus, as a capture has it.
traffic::FrameHead head_of(const qmi_idl_service_object& service, FaultKind kind, Address client,
                           Address server) {
  traffic::FrameHead head;
  head.to_client = kind != FaultKind::kRequest;
  head.service = service.id;
  head.instance = qcci::instance_field(static_cast<uint32_t>(service.major), 0);
  head.from = head.to_client ? server : client;
  head.to = head.to_client ? client : server;
  return head;
}

struct Served {
  std::unique_ptr<ModemBus> modem;  // null after a failure
  // Lines for when it ends: what it was to do, and has had no occasion for.
  std::function<std::vector<std::string>()> unused;
  // Of a simulated modem: it and what takes requests to change it.
  Modem* changing = nullptr;
  std::unique_ptr<Control> control = {};
};

Served simulated(const Phone& phone, Witness& witness, std::string* why) {
  std::string toml;
  Settings settings;
  if (!read_phone_toml(phone, &toml, why)) return {};
  if (!settings.parse(toml, why)) {
    *why = phone.root() + "/" + *why;
    return {};
  }
  std::unique_ptr<Modem> modem = make_modem(phone, settings.config());
  modem->set_log([&witness](const std::string& line) { witness.say(line); });
  modem->set_tap([&witness](const qmi_idl_service_object& service, FaultKind kind, Address client,
                            Address server, std::span<const uint8_t> octets) {
    witness.see(head_of(service, kind, client, server), octets);
  });
  Modem* const known = modem.get();
  const auto unused = [known] { return known->unused_fault_rules(); };
  return {std::move(modem), unused, known,
          std::make_unique<Control>(phone, *known, std::move(settings))};
}

Served replayed(traffic::Recording recording, const Serving& wanted, Witness& witness) {
  auto modem = std::make_unique<ReplayModem>(
      std::move(recording),
      wanted.timing ? ReplayModem::Timing::kRecorded : ReplayModem::Timing::kAtOnce,
      [&witness](const std::string& line) { witness.say("replay: " + line); },
      [&witness](const traffic::FrameHead& head, std::span<const uint8_t> octets) {
        witness.see(head, octets);
      });
  const auto unused = [known = modem.get()] { return known->not_asked(); };
  return {std::move(modem), unused};
}

// Becomes readable when a signal asks for the end.
Descriptor stop_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
}

bool say_ready(const Phone& phone, const Serving& wanted, std::string* why) {
  std::printf("listening on %s\n", phone.path(Server::kSocket).c_str());
  if (wanted.qrtr) std::printf("published on the QRTR bus\n");
  if (wanted.node) std::printf("published on the QRTR bus as node %u\n", *wanted.node);
  if (!flush_output(why)) return false;
  if (wanted.ready_fd && !tell_ready(*wanted.ready_fd, why)) return false;
  notify_manager("READY=1");
  return true;
}

}  // namespace

bool serve(const Phone& phone, const Serving& wanted, std::string* why) {
  // Before anything else is opened, which might get that number.
  if (wanted.ready_fd && ::fcntl(*wanted.ready_fd, F_SETFD, FD_CLOEXEC) != 0) {
    *why = "--ready-fd " + std::to_string(*wanted.ready_fd) + ": " + std::strerror(errno);
    return false;
  }
  const Descriptor stop = stop_signals();
  // Before the file, which may be the same, is captured to.
  traffic::Recording recording;
  const bool replays = !wanted.replay.empty();
  if ((replays && !recording.read(wanted.replay, why)) || !phone.prepare(why)) return false;
  Witness witness(phone, wanted);
  const Served served =
      replays ? replayed(std::move(recording), wanted, witness) : simulated(phone, witness, why);
  if (served.modem == nullptr) return false;
  ModemBus& modem = *served.modem;
  Poller poller;
  Server server(modem, poller);
  if (!server.listen(phone, why)) return false;
  std::unique_ptr<ControlServer> controls;
  if (served.control != nullptr) {
    controls = std::make_unique<ControlServer>(*served.changing, *served.control, poller);
    if (!controls->listen(phone, why)) return false;
  }
  QrtrServer bus(modem, poller);
  if (wanted.qrtr && !bus.publish(why)) return false;
  QrtrNode remote(modem, poller, wanted.node.value_or(0));
  if (wanted.node && !remote.publish(why)) return false;
  if (!say_ready(phone, wanted, why)) return false;
  serve_modem(modem, poller, stop.get());
  notify_manager("STOPPING=1");
  for (const std::string& line : served.unused()) report((replays ? "replay: " : "") + line);
  return true;
}

}  // namespace sim
