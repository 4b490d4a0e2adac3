// vex-phone: makes, serves and shows a simulated phone, and runs a shell in it.
//
// Exit status: 0, 1 for a failure, 2 for unknown words; that of the shell is in phone_shell.h.

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "output.h"
#include "serve.h"
#include "show.h"
#include "sim/config/phone_toml.h"
#include "sim/phone/report.h"
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

int init(const Phone& phone) {
  std::string why;
  if (!phone.prepare(&why)) return fail(why);
  std::printf("%s\n", phone.root().c_str());
  return 0;
}

// What the words after "serve" are put into must outlast the app.
void add_serve(CLI::App& app, const std::string& directory, sim::Serving& wanted, int& result) {
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
  CLI::Option* const replay = serving->add_option(
      "--replay", wanted.replay, "Answer from a capture, not from what the phone holds");
  serving->add_flag("--replay-timing", wanted.timing, "When the capture's modem did, not at once")
      ->needs(replay);
  serving->callback([&] {
    std::string why;
    if (!sim::serve(Phone(directory), wanted, &why)) result = fail(why);
  });
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
  sim::Serving wanted;
  add_serve(app, directory, wanted, result);
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
  return result == 0 && !sim::flush_output(&why) ? fail(why) : result;
}
