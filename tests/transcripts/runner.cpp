// Runs transcripts: what an engineer types at the phone's shell, and what the shell then shows.
//
//   usage: transcripts [--accept] FILE...
//
// A transcript has lines "$ COMMAND", each followed by what it prints; "[status N]" ends it when
// the status is not 0. Before a command there may be a block of tables for phone.toml: a line
// "phone.toml:" and indented lines, which replace those of an earlier block. Lines that begin with
// "#" are comments. "[VEX_NAME=VALUE] vex WORDS" runs in a process forked from this one, on a clock
// that goes to the next deadline whenever every thread waits; anything else is a line for sh, with
// vex-phone on the PATH and $VEX_PHONE as the phone, which each transcript begins anew. Debug lines
// are left out unless VEX_SHELL_LEVELS=15 asks for them.
//
// Source lines, times, process ids and the phone's path are shown as N, TIME, PID and $VEX_PHONE.
// --accept writes what was printed into the file, to be reviewed there.

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "sim/phone/default_phone.h"
#include "support/desk.h"
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
    } else if (line.starts_with("#") || line == "phone.toml:" || in_block) {
      finish();
      step.before.push_back(line);
      in_block = in_block || line == "phone.toml:";
      if (line == "phone.toml:") step.has_toml = true;
      if (line.starts_with("  ")) step.toml += line.substr(2) + "\n";
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
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(ends[1], STDOUT_FILENO);
    ::dup2(ends[1], STDERR_FILENO);
    ::close(ends[0]);
    ::close(ends[1]);
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

int run_vex(const std::string& command) {
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
  desk::TestClock::install().run_by_itself();
  return vex::run(static_cast<int>(argv.size()), argv.data());
}

std::string run(const Step& step) {
  static const std::regex kVex("(VEX_[A-Z_]+=[^ ]* )*vex( [^|<>;&'\"$]*)?");
  if (std::regex_match(step.command, kVex)) return output_of([&] { return run_vex(step.command); });
  return output_of([&] {
    ::execl("/bin/sh", "sh", "-c", step.command.c_str(), nullptr);
    return 127;
  });
}

std::string masked(std::string text, const std::string& root) {
  static const std::regex kSource("(\\[[a-z_0-9]+\\.(?:cpp|h)):[0-9]+\\]");
  static const std::regex kTime("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}\\.[0-9]{3} +[0-9]+ ");
  text = std::regex_replace(text, kSource, "$1:N]");
  text = std::regex_replace(text, kTime, "TIME PID ");
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
    if (step.has_toml) directory.write("phone.toml", sim::default_phone_toml() + step.toml);
    const std::string got = masked(run(step), directory.root());
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
