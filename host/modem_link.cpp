// The link to the modem that the environment chooses.

#include <malloc.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/host.h"
#include "platform/kelvor_utils.h"
#include "qcci/link/local_socket.h"
#include "qcci/link/no_link.h"
#include "qcci/link/qrtr.h"
#include "sim/replay/replay_modem.h"
#include "sim/services/make_modem.h"
#include "sim/serving/embedded_link.h"
#include "sim/serving/server.h"
#include "traffic/link/process_capture.h"

namespace host {
namespace {

void say_no_modem(const std::string& why) {
  std::fprintf(stderr, "vex: no modem: %s\n", why.c_str());
}

std::unique_ptr<qcci::Link> no_link(const std::string& why) {
  say_no_modem(why);
  return std::make_unique<qcci::NoLink>();
}

// Set once, before the exit handler that reads it is installed. Never destroyed.
std::shared_ptr<sim::Modem>& embedded_modem() {
  static auto* const modem = new std::shared_ptr<sim::Modem>;
  return *modem;
}

void report_unused_fault_rules() {
  for (const std::string& line : embedded_modem()->unused_fault_rules()) {
    kelvor_utils_syslog_dbg("modem: %s", line.c_str());
  }
}

std::unique_ptr<qcci::Link> embedded() {
  if (!prepare_phone()) return std::make_unique<qcci::NoLink>();
  std::string why;
  std::shared_ptr<sim::Modem> modem = sim::make_modem(phone(), &why);
  if (modem == nullptr) return no_link(why);
  modem->set_log([](const std::string& line) {
    kelvor_utils_syslog_dbg("modem: %s", line.c_str());
    traffic::note("modem: " + line);
  });
  embedded_modem() = modem;
  if (!modem->unused_fault_rules().empty()) std::atexit(report_unused_fault_rules);
  return sim::make_embedded_link(std::move(modem));
}

// Set and never destroyed as the embedded one.
std::shared_ptr<sim::ReplayModem>& replay_modem() {
  static auto* const modem = new std::shared_ptr<sim::ReplayModem>;
  return *modem;
}

// What is said of a replay is for the person who asked for it: the tool's own output is the same as
// when the capture was made.
void say_of_replay(const std::string& line) {
  traffic::report("replay: " + line);
  traffic::note("replay: " + line);
}

void report_not_asked() {
  for (const std::string& line : replay_modem()->not_asked()) traffic::report("replay: " + line);
}

std::unique_ptr<qcci::Link> replayed(const std::string& path, sim::ReplayModem::Timing timing) {
  traffic::Recording recording;
  std::string why;
  if (!recording.read(path, &why)) return no_link(why);
  replay_modem() = std::make_shared<sim::ReplayModem>(std::move(recording), timing, say_of_replay,
                                                      sim::ReplayModem::Tap());
  std::atexit(report_not_asked);
  return sim::make_embedded_link(replay_modem());
}

// Why a served modem could not be connected to, from errno: the end of a sentence.
std::string unavailable(int error) {
  switch (error) {
    case EUSERS:
      return "has no room for another client";
    case EPERM:
      return "belongs to another user";
    case ENOENT:
    case ECONNREFUSED:
    case ETIMEDOUT:
      return "does not answer";
    default:
      return std::string("cannot be reached: ") + std::strerror(error);
  }
}

}  // namespace

std::unique_ptr<qcci::Link> make_link() {
  // A malloc arena for the library's thread costs more time than it saves: the thread hardly
  // allocates.
  ::mallopt(M_ARENA_MAX, 1);
  const char* variable = std::getenv("VEX_MODEM");
  const std::string wanted = variable != nullptr ? variable : "";
  if (wanted.empty()) {
    auto served = std::make_unique<qcci::LocalSocketLink>(sim::Server::socket_path(phone()));
    if (served->answers()) return served;
    const std::string why = unavailable(errno);
    if (sim::Server::is_served(phone())) {
      std::fprintf(stderr, "vex: the served modem %s; using an embedded one\n", why.c_str());
    }
    return embedded();
  }
  if (wanted == "embedded") return embedded();
  using Timing = sim::ReplayModem::Timing;
  for (const auto& [prefix, timing] :
       {std::pair("replay:", Timing::kAtOnce), std::pair("replay-timing:", Timing::kRecorded)}) {
    if (wanted.starts_with(prefix)) return replayed(wanted.substr(std::strlen(prefix)), timing);
  }
  if (wanted.starts_with("unix:")) {
    const std::string path = wanted.substr(5);
    auto served = std::make_unique<qcci::LocalSocketLink>(path);
    if (served->answers()) return served;
    const int error = errno;
    if (error == ENOENT || error == ECONNREFUSED) {
      return no_link("nobody serves one at " + path);
    }
    const std::string why = "the one served at " + path + " " + unavailable(error);
    if (error != EUSERS && error != ETIMEDOUT) return no_link(why);
    say_no_modem(why);
    return served;
  }
  if (wanted == "qrtr") {
    auto bus = std::make_unique<qcci::QrtrLink>();
    if (bus->answers()) return bus;
    return no_link(std::string("no QRTR bus in this kernel: ") + std::strerror(errno));
  }
  return no_link("VEX_MODEM is \"" + wanted +
                 "\", not embedded, unix:PATH, qrtr, replay:FILE or replay-timing:FILE");
}

}  // namespace host
