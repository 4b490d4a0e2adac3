// Runs transcripts: what an engineer types at the phone's shell, and what the shell then shows.
//
//   usage: transcripts [--accept] FILE...
//
// A transcript has lines "$ COMMAND", each followed by what it prints; "[status N]" ends it when
// the status is not 0. Before a command there may be a block for phone.toml: a line "phone.toml:"
// with text behind it or in the lines that follow, which stands before the default phone's text and
// replaces an earlier block. Lines that begin with "#" are comments.
//
// "[NAME=VALUE] vex WORDS [| FILTER]" runs in a process forked from this one, on a clock that goes
// to the next deadline whenever every thread waits; "[after N ms]" says how far it went. BUS=1
// shows the requests that the modem gets and its indications: service, message and TLVs. Anything
// else is a line for sh, with the programs on the PATH and $VEX_PHONE as the phone, which each
// transcript begins anew. Debug lines are left out unless VEX_SHELL_LEVELS=15 asks for them.
//
// Source lines, times, process ids, handles and the phone's path are shown as N, TIME, PID, HANDLE
// and $VEX_PHONE. Lines of a number each, from one place, are shown as one line, and more than
// eight times the same octet as "00 * 9".
// --accept writes what was printed into the file, to be reviewed there.

#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "sim/phone/default_phone.h"
#include "sim/services/make_modem.h"
#include "sim/serving/embedded_link.h"
#include "support/desk.h"
#include "support/process_link.h"
#include "vex/commands.h"

namespace {

using Lines = std::vector<std::string>;

struct Step {
  Lines before;      // comments, blank lines and the block for phone.toml, as they stand
  std::string toml;  // of the block; empty when there is none
  bool has_toml = false;
  std::string command;
  std::string expected;
};

constexpr std::string_view kBlock = "phone.toml:";

bool read_steps(std::istream& in, std::vector<Step>* steps) {
  Step step;
  const auto finish = [&] {
    if (!step.command.empty()) steps->push_back(std::exchange(step, {}));
  };
  bool in_block = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("$ ")) {
      finish();
      step.command = line.substr(2);
      in_block = false;
    } else if (line.starts_with("#") || line.starts_with(kBlock) || in_block) {
      finish();
      step.before.push_back(line);
      const bool begins = line.starts_with(kBlock);
      if (begins) in_block = step.has_toml = true;
      if (in_block && !line.starts_with("#"))
        step.toml += line.substr(begins ? kBlock.size() : 0) + "\n";
    } else if (!step.command.empty()) {
      step.expected += line + "\n";
    } else {
      step.before.push_back(line);
    }
  }
  finish();
  return !steps->empty();
}

// What `body` and the processes that it starts write to both streams, and its status.
std::string output_of(const std::function<int()>& body) {
  int ends[2];
  if (::pipe(ends) != 0) std::abort();
  std::cout.flush();
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(ends[1], STDOUT_FILENO);
    ::dup2(ends[1], STDERR_FILENO);
    ::close(ends[0]);
    ::close(ends[1]);
    for (const int number : {SIGINT, SIGQUIT, SIGHUP, SIGTERM}) std::signal(number, SIG_DFL);
    std::exit(body());
  }
  ::close(ends[1]);
  std::string output;
  char buffer[4096];
  for (ssize_t n = 0; (n = ::read(ends[0], buffer, sizeof buffer)) > 0;) {
    output.append(buffer, static_cast<size_t>(n));
  }
  ::close(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!output.empty() && output.back() != '\n') output += "\n[no line end]\n";
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  if (code != 0) output += "[status " + std::to_string(code) + "]\n";
  return output;
}

void show_bus(const std::string& root) {
  std::string why;
  std::shared_ptr<sim::Modem> modem = sim::make_modem(sim::Phone(root), &why);
  if (modem == nullptr) return;
  modem->set_tap([](const qmi_idl_service_object& service, sim::FaultKind kind, sim::Address,
                    std::span<const uint8_t> octets) {
    if (kind == sim::FaultKind::kResponse) return;
    std::printf("%s %s %02X%02X %s\n", kind == sim::FaultKind::kRequest ? ">" : "<", service.name,
                octets[4], octets[3], desk::hex(octets.subspan(7)).c_str());
  });
  desk::use_link(sim::make_embedded_link(std::move(modem)));
}

int run_vex(const std::string& command, const std::string& root) {
  std::istringstream words(command);
  std::vector<std::string> all;
  for (std::string word; words >> word;) {
    const size_t equals = word.find('=');
    if (!all.empty() || equals == std::string::npos) {
      all.push_back(word);
    } else {
      ::setenv(word.substr(0, equals).c_str(), word.substr(equals + 1).c_str(), 1);
    }
  }
  std::vector<char*> argv;
  for (std::string& word : all) argv.push_back(word.data());
  argv.push_back(nullptr);
  program_invocation_short_name = argv[0];
  desk::TestClock& clock = desk::TestClock::install();
  clock.run_by_itself();
  if (std::getenv("BUS") != nullptr) show_bus(root);
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  const int status = vex::run(static_cast<int>(all.size()), argv.data());
  const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(clock.passed());
  if (passed.count() != 0) std::printf("[after %ld ms]\n", static_cast<long>(passed.count()));
  return status;
}

std::string run(const Step& step, const std::string& root) {
  static const std::regex kVex("((?:[A-Z_]+=[^ ]* )*vex(?: [^|<>;&'\"$]*)?)(?:\\|(.*))?");
  std::smatch parts;
  if (std::regex_match(step.command, parts, kVex)) {
    return output_of([&] {
      FILE* const filter = parts[2].matched ? ::popen(parts[2].str().c_str(), "w") : nullptr;
      if (filter != nullptr) ::dup2(::fileno(filter), STDOUT_FILENO);
      const int status = run_vex(parts[1], root);
      std::fclose(stdout);
      return filter != nullptr ? ::pclose(filter) : status;
    });
  }
  return output_of([&] {
    ::execl("/bin/sh", "sh", "-c", step.command.c_str(), nullptr);
    return 127;
  });
}

// More than eight times the same octet, as one and their number.
std::string shortened(const std::string& text) {
  std::string all;
  for (size_t at = 0; at < text.size();) {
    const size_t width = text.compare(at, 3, " 0x") == 0 ? 5 : 3;
    size_t n = 1;
    const bool octet = text[at] == ' ' && std::isxdigit(text[at + 1]) != 0;
    while (octet && text.compare(at + width * n, width, text, at, width) == 0) ++n;
    all += n > 8 ? text.substr(at, width) + " * " + std::to_string(n) : text.substr(at, 1);
    at += n > 8 ? width * n : 1;
  }
  return all;
}

// Lines of one number each, from the same place, joined.
std::string joined(const std::string& text) {
  static const std::regex kNumber("(RIL\\[.*\\] [a-z_0-9]+: )( -?[0-9A-Fx]{1,4}|0x[0-9A-F]{2} )");
  std::istringstream in(text);
  std::string all, from;
  std::smatch parts;
  for (std::string line; std::getline(in, line);) {
    const bool number = std::regex_match(line, parts, kNumber);
    const bool more = number && parts[1] == from;
    if (!more && !all.empty()) all += "\n";
    all += more ? parts[2].str() : line;
    from = number ? parts[1].str() : "";
  }
  return all.empty() ? all : all + "\n";
}

std::string masked(std::string text, const std::string& root) {
  static const std::regex kSource("(\\[[a-z_0-9]+\\.(?:cpp|h)):[0-9]+\\]");
  static const std::regex kTime("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}\\.[0-9]{3} +[0-9]+ ");
  static const std::regex kHandle("0x[0-9a-f]{9,16}\\b");
  text = std::regex_replace(shortened(joined(text)), kTime, "TIME PID ");
  text = std::regex_replace(text, kHandle, "HANDLE");
  text = std::regex_replace(text, kSource, "$1:N]");
  for (size_t at = 0; (at = text.find(root, at)) != std::string::npos;) {
    text.replace(at, root.size(), "$VEX_PHONE");
  }
  return text;
}

// The first line in which they differ.
void show_difference(const std::string& file, const Step& step, const std::string& got) {
  std::istringstream wanted(step.expected);
  std::istringstream had(got);
  std::string want;
  std::string have;
  do {
    want = have = "(the end)";
    std::getline(wanted, want);
    std::getline(had, have);
  } while (want == have && wanted && had);
  std::cout << file << ": $ " << step.command << "\n  wanted: " << want << "\n  got:    " << have
            << "\nall of it:\n"
            << got;
}

bool run_file(const std::string& file, bool accept) {
  std::vector<Step> steps;
  std::ifstream in(file);
  if (!read_steps(in, &steps)) {
    std::cout << file << ": no command in it\n";
    return false;
  }
  const desk::PhoneDirectory directory;
  bool same = true;
  std::string accepted;
  for (const Step& step : steps) {
    if (step.has_toml) {
      directory.write("phone.toml", step.toml + sim::default_phone_toml());
    }
    const std::string got = masked(run(step, directory.root()), directory.root());
    if (got != step.expected) {
      if (!accept) show_difference(file, step, got);
      same = false;
    }
    for (const std::string& line : step.before) accepted += line + "\n";
    accepted += "$ " + step.command + "\n" + got;
  }
  if (accept && !same) std::ofstream(file) << accepted;
  return same || accept;
}

}  // namespace

int main(int argc, char** argv) {
  ::setenv("PATH", (std::string(VEX_PROGRAMS) + ":" + std::getenv("PATH")).c_str(), 1);
  ::setenv("VEX_SHELL_LEVELS", "11", 1);
  const bool accept = argc > 1 && std::string(argv[1]) == "--accept";
  bool good = argc > (accept ? 2 : 1);
  for (int i = accept ? 2 : 1; i < argc; ++i) good = run_file(argv[i], accept) && good;
  return good ? 0 : 1;
}
