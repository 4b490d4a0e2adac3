// vex-phone: makes, serves, changes and shows a simulated phone, and runs a shell in it. All of its
// words are read here.
//
// Exit status: 0, 1 for a failure, 2 for unknown words; that of the shell is in phone_shell.h.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <sstream>

#include "output.h"
#include "serve.h"
#include "show.h"
#include "sim/config/phone_toml.h"
#include "sim/phone/report.h"
#include "sim/shell/phone_shell.h"
#include "verbs.h"

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

bool init(const Phone& phone, std::string* why) {
  if (!phone.prepare(why)) return false;
  std::printf("%s\n", phone.root().c_str());
  return true;
}

// What the words say, until one of them is run.
class Words {
 public:
  Words();
  int run(int argc, char** argv);

 private:
  using Action = std::function<bool(const Phone& phone, std::string* why)>;
  // A sub-command that does `action`.
  CLI::App* add(CLI::App& to, const char* name, const char* help, const Action& action);
  void add_makers();
  void add_serve();
  void add_values();
  void add_events();
  void add_faults();

  CLI::App app_{"The simulated phone that vex talks to on a desk"};
  std::string directory_ = Phone::default_root();
  int result_ = 0;
  sim::Serving serving_;
  std::string key_, service_, message_;
  std::vector<std::string> words_;
  uint32_t slot_ = 0;
  uint32_t item_ = 0;
  bool shown_alone_ = false;  // a part of what "show" prints, which runs behind its words
  bool json_ = false;
  bool keep_ = false;
};

CLI::App* Words::add(CLI::App& to, const char* name, const char* help, const Action& action) {
  CLI::App* const verb = to.add_subcommand(name, help)->fallthrough();
  verb->callback([this, action] {
    std::string why;
    if (!action(Phone(directory_), &why)) result_ = fail(why);
  });
  return verb;
}

Words::Words() {
  app_.require_subcommand(1);
  app_.set_version_flag("--version", "vex-phone " VEX_VERSION);
  app_.add_option("--phone", directory_, "The phone's directory ($VEX_PHONE)")
      ->capture_default_str();
  add_makers();
  add_serve();
  add_values();
  add_events();
  add_faults();
}

void Words::add_makers() {
  add(app_, "init", "Make the phone, if it is not there, and say where it is", init);
  CLI::App* const show =
      add(app_, "show", "Print what the phone holds",
          [this](auto& phone, auto why) { return shown_alone_ || sim::show(phone, why); });
  CLI::App* const nv = add(*show, "nv", "Print an NV item alone", [this](auto& phone, auto why) {
    shown_alone_ = true;
    return sim::show_nv(phone, item_, slot_, why);
  });
  nv->add_option("ID", item_, "Its number")->required();
  nv->add_option("SUB", slot_, "The subscription, 0 without it");
  CLI::App* const efs = add(*show, "efs", "Print an EFS file alone", [this](auto& phone, auto why) {
    shown_alone_ = true;
    return sim::show_efs(phone, key_, slot_, why);
  });
  efs->add_option("PATH", key_, "Its path")->required();
  efs->add_option("SUB", slot_, "The subscription, 0 without it");
  app_.add_subcommand("keys", "Print the keys that phone.toml may have, as Markdown")->callback([] {
    std::fputs(sim::keys_page().c_str(), stdout);
  });
  CLI::App* const shell = app_.add_subcommand(
      "shell", "Run $SHELL, or the COMMAND that follows, where the phone is at its device paths");
  shell->prefix_command();
  shell->callback(
      [this, shell] { result_ = sim::run_phone_shell(Phone(directory_), shell->remaining()); });
}

void Words::add_serve() {
  CLI::App* const verb = add(app_, "serve", "Run its modem for other processes",
                             [this](auto& phone, auto why) { return serve(phone, serving_, why); });
  verb->add_flag("--trace", serving_.trace, "Print every message");
  verb->add_option("--capture", serving_.capture, "Append every message to a pcapng file");
  CLI::Option* const on_bus =
      verb->add_flag("--qrtr", serving_.qrtr, "Publish its services on the kernel's QRTR bus too");
  verb->add_option("--qrtr-node", serving_.node,
                   "Be this node of the bus, as a phone's modem is node 0")
      ->excludes(on_bus);
  CLI::Option* const replay = verb->add_option(
      "--replay", serving_.replay, "Answer from a capture, not from what the phone holds");
  verb->add_flag("--replay-timing", serving_.timing, "When the capture's modem did, not at once")
      ->needs(replay);
  verb->add_option("--ready-fd", serving_.ready_fd,
                   "A descriptor that gets a line end once the phone is served");
}

void Words::add_values() {
  CLI::App* const get =
      add(app_, "get", "Print values of the served phone",
          [this](auto& phone, auto why) { return sim::get_values(phone, key_, json_, why); });
  get->add_option("KEY", key_, "The value, or all below it; all without it");
  get->add_flag("--json", json_, "Print JSON");
  CLI::App* const set =
      add(app_, "set", "Change values of the served phone",
          [this](auto& phone, auto why) { return sim::set_values(phone, words_, keep_, why); });
  set->add_option("KEY=VALUE", words_, "A key of phone.toml")->required();
  set->add_flag("--keep", keep_, "Change phone.toml as well");
  CLI::App* const watch =
      add(app_, "watch", "Print what changes on the served phone",
          [this](auto& phone, auto why) { return sim::watch_values(phone, words_, json_, why); });
  watch->add_option("KEY", words_, "These, and what is below them, alone");
  watch->add_flag("--json", json_, "Print JSON");
}

void Words::add_events() {
  CLI::App* const card =
      app_.add_subcommand("card", "Move a SIM of the served phone")->require_subcommand(1);
  CLI::App* const service =
      app_.add_subcommand("service", "Move a service of the served phone")->require_subcommand(1);
  card->fallthrough();
  service->fallthrough();
  for (const bool on : {true, false}) {
    add(*card, on ? "insert" : "remove", on ? "Put it in" : "Take it out",
        [this, on](auto& phone, auto why) { return sim::put_card(phone, slot_, on, why); })
        ->add_option("SLOT", slot_, "1 or 2")
        ->required();
    add(*service, on ? "up" : "down", on ? "Bring it up" : "Take it down",
        [this, on](auto& phone, auto why) { return sim::put_service(phone, service_, on, why); })
        ->add_option("NAME", service_, "As phone.toml calls it")
        ->required();
  }
  add(app_, "restart", "Restart the served phone's modem", sim::restart_modem);
  CLI::App* const indicate =
      add(app_, "indicate", "Send an indication to the served phone's clients",
          [this](auto& phone, auto why) {
            return sim::send_indication(phone, service_, message_, words_, why);
          });
  indicate->add_option("SERVICE", service_, "As phone.toml calls it")->required();
  indicate->add_option("MESSAGE", message_, "Its name or number")->required();
  indicate->add_option("FIELD=VALUE", words_, "As vex-traffic prints them");
}

void Words::add_faults() {
  CLI::App* const fault =
      app_.add_subcommand("fault", "Fault rules of the served phone")->require_subcommand(1);
  fault->fallthrough();
  add(*fault, "add", "Add one",
      [this](auto& phone, auto why) { return sim::add_fault(phone, words_, why); })
      ->add_option("KEY=VALUE", words_, "As in a [[fault]] table")
      ->required();
  add(*fault, "list", "Print them", sim::list_faults);
  add(*fault, "clear", "Remove them all", sim::clear_faults);
}

int Words::run(int argc, char** argv) {
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
    app_.parse(static_cast<int>(words.size()), words.data());
  } catch (const CLI::RequiredError& error) {
    if (!app_.get_subcommands().empty()) return refuse(error.what());
    const std::vector<std::string> unknown = app_.remaining();
    return refuse(unknown.empty() ? "no sub-command" : "unknown: " + unknown[0]);
  } catch (const CLI::Success& asked) {
    std::ostringstream text;  // the help or the version
    const int status = app_.exit(asked, text);
    std::fputs(text.str().c_str(), stdout);
    return status;
  } catch (const CLI::ParseError& error) {
    return refuse(error.what());
  }
  return result_;
}

}  // namespace

// Only a lack of memory throws, and ends the program.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
  if (argc > 3 && std::strcmp(argv[1], sim::kEnterPhoneShell) == 0) {
    return sim::enter_phone_shell(argv + 2);
  }
  const int result = Words().run(argc, argv);
  std::string why;
  return result == 0 && !sim::flush_output(&why) ? fail(why) : result;
}
