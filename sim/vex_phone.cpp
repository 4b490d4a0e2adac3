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

#include "qcci/idl/codec.h"
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

// Prints one message in one line, its TLVs as names and values.
void print_message(const qmi_idl_service_object& service, sim::FaultKind kind, sim::Address client,
                   std::span<const uint8_t> octets) {
  static constexpr struct {
    qmi_idl_message_type type;
    const char* name;
  } kKinds[] = {{.type = QMI_IDL_REQUEST, .name = "request"},
                {.type = QMI_IDL_RESPONSE, .name = "response"},
                {.type = QMI_IDL_INDICATION, .name = "indication"}};
  const auto& named = kKinds[static_cast<size_t>(kind)];
  qcci::QmiHeader header;
  std::string text = "(cut)";
  if (qcci::QmiHeader::parse(octets, &header)) {
    const auto* row = service.find(named.type, header.message);
    std::vector<uint8_t> c(row != nullptr ? row->c_size : 0);
    const auto error = row == nullptr ? qcci::idl::CodecError::kUnknownMandatory
                                      : qcci::idl::decode(*row, octets.subspan(qcci::kQmiHeader),
                                                          c.data(), c.size());
    text = error == qcci::idl::CodecError::kOk
               ? qcci::idl::describe(*row, c.data())
               : std::string("(") + qcci::idl::codec_error_text(error) + ")";
  }
  std::printf("%u.%u %s 0x%04x %s %s %u: %s\n", client.node, client.port, service.name,
              header.message, service.message_name(header.message), named.name, header.transaction,
              text.c_str());
  std::fflush(stdout);
}

// `node`: the number of a node of its own on the QRTR bus.
int serve(const Phone& phone, bool trace, bool qrtr, std::optional<uint32_t> node) {
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
  sim::Poller poller;
  sim::Server server(*modem, poller);
  if (!server.listen(phone, &why)) return fail(why);
  sim::QrtrServer bus(*modem, poller);
  if (qrtr && !bus.publish(&why)) return fail(why);
  sim::QrtrNode remote(*modem, poller, node.value_or(0));
  if (node && !remote.publish(&why)) return fail(why);
  std::printf("listening on %s\n", phone.path(sim::Server::kSocket).c_str());
  if (qrtr) std::printf("published on the QRTR bus\n");
  if (node) std::printf("published on the QRTR bus as node %u\n", *node);
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
  bool trace = false;
  CLI::App* serving = app.add_subcommand("serve", "Run its modem for other processes");
  serving->fallthrough();
  serving->add_flag("--trace", trace, "Print every message");
  bool qrtr = false;
  CLI::Option* const on_bus =
      serving->add_flag("--qrtr", qrtr, "Publish its services on the kernel's QRTR bus too");
  std::optional<uint32_t> node;
  serving->add_option("--qrtr-node", node, "Be this node of the bus, as a phone's modem is node 0")
      ->excludes(on_bus);
  serving->callback([&] { result = serve(Phone(directory), trace, qrtr, node); });
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
