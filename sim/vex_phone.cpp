// vex-phone: makes, serves and shows a simulated phone.
//
// Its status is 0, 1 for a failure, 2 for words that it does not know; the shell has its own.

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "platform/idl/pdc.h"
#include "qcci/idl/codec.h"
#include "qcci/idl/service.h"
#include "qcci/link/local_socket.h"
#include "qcci/octets.h"
#include "sim/card_tray.h"
#include "sim/euicc.h"
#include "sim/modem.h"
#include "sim/phone_shell.h"
#include "sim/qrtr_server.h"
#include "sim/report.h"
#include "sim/server.h"

namespace {

using sim::Phone;

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

// Brings what was printed so far to where it goes.
bool flush_output(std::string* why) {
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

const char* kind_text(sim::FaultKind kind) {
  switch (kind) {
    case sim::FaultKind::kRequest:
      return "request";
    case sim::FaultKind::kResponse:
      return "response";
    case sim::FaultKind::kIndication:
      return "indication";
  }
  return "?";
}

// One message, as a person reads it.
void print_message(const qmi_idl_service_object& service, sim::FaultKind kind, sim::Address client,
                   std::span<const uint8_t> octets) {
  static constexpr qmi_idl_message_type kTypes[] = {QMI_IDL_REQUEST, QMI_IDL_RESPONSE,
                                                    QMI_IDL_INDICATION};
  qcci::QmiHeader header;
  std::string text = "(cut)";
  if (qcci::QmiHeader::parse(octets, &header)) {
    const auto* row = service.find(kTypes[static_cast<size_t>(kind)], header.message);
    std::vector<uint8_t> c(row != nullptr ? row->c_size : 0);
    const auto error = row == nullptr ? qcci::idl::CodecError::kUnknownMandatory
                                      : qcci::idl::decode(*row, octets.subspan(qcci::kQmiHeader),
                                                          c.data(), c.size());
    text = error == qcci::idl::CodecError::kOk
               ? qcci::idl::describe(*row, c.data())
               : std::string("(") + qcci::idl::codec_error_text(error) + ")";
  }
  std::printf("%u.%u %s 0x%04x %s %s %u: %s\n", client.node, client.port, service.name,
              header.message, service.message_name(header.message), kind_text(kind),
              header.transaction, text.c_str());
  std::fflush(stdout);
}

int serve(const Phone& phone, bool trace, bool qrtr) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  const sim::Descriptor stop(::signalfd(-1, &signals, SFD_CLOEXEC));

  std::string why;
  const std::unique_ptr<sim::Modem> modem = sim::make_modem(phone, &why);
  if (modem == nullptr) return fail(why);
  modem->set_log(sim::report);
  if (trace) modem->set_tap(print_message);
  sim::Server server(*modem);
  if (!server.listen(phone, &why)) return fail(why);
  std::vector<sim::Door*> doors{&server};
  sim::QrtrServer bus(*modem);
  if (qrtr) {
    if (!bus.publish(&why)) return fail(why);
    doors.push_back(&bus);
  }
  std::printf("listening on %s\n", phone.path(sim::Server::kSocket).c_str());
  if (qrtr) std::printf("published on the QRTR bus\n");
  if (!flush_output(&why)) return fail(why);
  sim::serve_modem(*modem, doors, stop.get());
  for (const std::string& line : modem->unmet_faults()) sim::report(line);
  return 0;
}

// The octets that a file begins with, and how many it has when there are more.
std::string beginning(std::string_view contents) {
  constexpr size_t kShown = 24;
  std::string text = qcci::to_hex(qcci::as_octets(contents.substr(0, kShown)), " ");
  if (contents.size() > kShown) text += " ... " + std::to_string(contents.size()) + " octets";
  return text;
}

void show_files(const char* title, const sim::Folder& folder) {
  std::printf("%s\n", title);
  folder.list([&](const std::string& path, size_t) {
    std::string contents;
    folder.read(path, &contents);
    std::printf("  %-40s %s\n", path.c_str(), beginning(contents).c_str());
  });
}

// What a modem that starts now finds in its slots.
void show_cards(const Phone& phone, const sim::CardsConfig& cards) {
  const bool esim = sim::esim_enabled(phone);
  const sim::CardTray tray(phone, cards);
  for (size_t i = 0; i < sim::kSlots; ++i) {
    std::printf("card       sim%zu %s%s%s\n", i + 1, sim::card_state_name(cards.sims[i].state),
                tray.present(static_cast<uint32_t>(i)) ? "" : ", not in the tray",
                i == sim::kEsimSlot && esim ? ", not connected" : "");
  }
  std::printf("card       euicc eid \"%s\"%s\n", qcci::to_hex(cards.eid, " ").c_str(),
              esim ? "" : ", not connected");
  const auto left = sim::Euicc(phone, cards).profiles();
  for (const sim::ProfileConfig& profile : cards.profiles) {
    const bool there =
        std::ranges::find(left, profile.iccid, &sim::ProfileConfig::iccid) != left.end();
    std::printf("profile    %s %s %s \"%s\"\n", profile.iccid.c_str(),
                sim::profile_class_name(profile.profile_class),
                !there            ? "deleted"
                : profile.enabled ? "enabled"
                                  : "disabled",
                profile.name.c_str());
  }
}

void show_selection(const Phone& phone, const sim::PdcConfig& pdc, const char* name, uint32_t type,
                    uint32_t sub) {
  const auto text = [&](const sim::ConfigId& id) {
    if (id.empty()) return std::string("none");
    const sim::CarrierConfig* config = pdc.find(type, id);
    return qcci::to_hex(id) +
           (config != nullptr ? " \"" + config->description + "\"" : " (not on this phone)");
  };
  sim::Selection selection;
  sim::read_selection(phone, sim::selection_path(type, sub), &selection);
  std::printf("selection  %-8s active %s, pending %s\n", name, text(selection.active).c_str(),
              text(selection.pending).c_str());
}

int show(const Phone& phone) {
  std::string why;
  std::string toml;
  if (!phone.is_there(&why)) return fail(why);
  const int error = phone.all().quiet().read("phone.toml", &toml);
  if (error != 0) return fail(phone.path("phone.toml") + ": " + sim::reason(error));
  sim::PhoneConfig config;
  if (!sim::parse_phone_config(toml, &config, &why)) return fail(phone.root() + "/" + why);

  std::printf("phone      %s\n", phone.root().c_str());
  qcci::LocalSocketLink link(sim::Server::socket_path(phone));
  std::printf("modem      %s\n", link.answers() ? "served at modem.sock" : "embedded in each vex");
  std::printf("restart    %lld ms, what was not synced %s\n",
              static_cast<long long>(config.restart.count()),
              config.loses_unsynced ? "is lost" : "survives");
  for (const auto service : qcci::idl::all_services()) {
    if (std::ranges::count(config.absent, service->id) != 0) {
      std::printf("absent     %s\n", service->name);
    }
  }
  std::printf("sar        state %u%s\n", config.sar_state, config.sar_valid ? "" : " (not sent)");
  std::printf("statistics %s, %zu outdated logs\n",
              config.statistics_enabled ? "enabled" : "disabled", config.outdated_logs.size());
  for (size_t sub = 0; sub < config.measurements.size(); ++sub) {
    for (const auto& [id, octets] : config.measurements[sub]) {
      std::printf("record     sub%zu %-10s 0x%02X %s\n", sub, sim::record_name(id), id,
                  qcci::to_hex(octets, " ").c_str());
    }
  }
  show_cards(phone, config.cards);
  for (const sim::CarrierConfig& one : config.pdc.configurations) {
    std::printf("config     %-8s %s version 0x%08x, %u octets%s \"%s\"\n",
                one.type == PDC_CONFIG_TYPE_PLATFORM ? "platform" : "software",
                qcci::to_hex(one.id).c_str(), one.version, one.size,
                one.is_default ? ", default" : "", one.description.c_str());
  }
  show_selection(phone, config.pdc, "platform", PDC_CONFIG_TYPE_PLATFORM, 0);
  show_selection(phone, config.pdc, "sub0", PDC_CONFIG_TYPE_SOFTWARE, 0);
  show_selection(phone, config.pdc, "sub1", PDC_CONFIG_TYPE_SOFTWARE, 1);
  for (const sim::NetworkConfig& network : config.networks) {
    std::printf("network    %03u-%0*u %s \"%s\"\n", network.mcc, network.mnc_three_digits ? 3 : 2,
                network.mnc, network.text.c_str(), network.name.c_str());
  }
  for (const sim::FaultRule& rule : config.faults) {
    std::printf("fault      %s\n", rule.text.c_str());
  }
  show_files("nv items (sub/id)", phone.nv());
  show_files("efs files (sub/path)", phone.efs());
  show_files("files in /data/vendor", phone.folder("data/vendor"));
  std::string properties;
  phone.all().read("properties", &properties);
  std::printf("properties\n%s", properties.c_str());
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
  bool trace = false;
  CLI::App* serving = app.add_subcommand("serve", "Run its modem for other processes");
  serving->fallthrough();
  serving->add_flag("--trace", trace, "Print every message");
  bool qrtr = false;
  serving->add_flag("--qrtr", qrtr, "Publish its services on the kernel's QRTR bus too");
  serving->callback([&] { result = serve(Phone(directory), trace, qrtr); });
  app.add_subcommand("show", "Print what the phone holds")->fallthrough()->callback([&] {
    result = show(Phone(directory));
  });
  CLI::App* shell = app.add_subcommand(
      "shell", "Run $SHELL, or the COMMAND that follows, where the phone is at its device paths");
  shell->prefix_command();
  shell->callback([&] { result = sim::run_phone_shell(Phone(directory), shell->remaining()); });
  // The command's words are its own, whatever they look like, so "--" is not needed before them.
  std::vector<char*> words(argv, argv + argc);
  for (size_t i = 1; i + 1 < words.size(); ++i) {
    if (std::strcmp(words[i], "shell") != 0) continue;
    if (std::strcmp(words[i + 1], "--") == 0) words.erase(words.begin() + static_cast<long>(i) + 1);
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

int main(int argc, char** argv) {
  if (argc > 3 && std::strcmp(argv[1], sim::kEnterPhoneShell) == 0) {
    return sim::enter_phone_shell(argv + 2);
  }
  const int result = run(argc, argv);
  std::string why;
  return result == 0 && !flush_output(&why) ? fail(why) : result;
}
