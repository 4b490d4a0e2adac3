#include "transcripts/transcript.h"

#include <sys/wait.h>

#include <cctype>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <regex>
#include <sstream>
#include <utility>

#include "sim/phone/default_phone.h"
#include "support/desk.h"

namespace transcripts {
namespace {

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

bool run_file(const std::string& file, const Run& run, bool accept) {
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

bool is_vex(const std::string& command, std::string* call, std::string* filter) {
  static const std::regex kVex("((?:[A-Z_]+=[^ ]* )*vex(?: [^|<>;&'\"$]*)?)(?:\\|(.*))?");
  std::smatch parts;
  if (!std::regex_match(command, parts, kVex)) return false;
  *call = parts[1];
  *filter = parts[2];
  return true;
}

std::string output_of(const std::function<int()>& body, const std::function<void(int fd)>& wait) {
  int ends[2];
  if (::pipe(ends) != 0) std::abort();
  std::cout.flush();
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(ends[0]);
    desk::write_to(ends[1]);
    for (const int number : {SIGINT, SIGQUIT, SIGHUP, SIGTERM}) std::signal(number, SIG_DFL);
    std::exit(body());
  }
  ::close(ends[1]);
  std::string output;
  char buffer[4096];
  for (ssize_t n = 1; n > 0;) {
    wait(ends[0]);
    n = ::read(ends[0], buffer, sizeof buffer);
    if (n > 0) output.append(buffer, static_cast<size_t>(n));
  }
  ::close(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!output.empty() && output.back() != '\n') output += "\n[no line end]\n";
  const int code = desk::shell_status(status);
  if (code != 0) output += "[status " + std::to_string(code) + "]\n";
  return output;
}

bool run_files(std::span<char* const> files, const Run& run, bool accept) {
  bool good = !files.empty();
  for (const char* file : files) good = run_file(file, run, accept) && good;
  return good;
}

}  // namespace transcripts
