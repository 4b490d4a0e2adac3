// vex-traffic: shows, compares and redacts captures of QMI traffic.
//
// Exit status: 0, 1 for a failure, 2 for unknown words. A file that ends within a block, as when
// its writer was killed, is no failure.

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "commands.h"
#include "frames.h"

namespace {

int run(int argc, char** argv) {
  CLI::App app{"Shows, compares and redacts captures of QMI traffic (VEX_CAPTURE)"};
  app.require_subcommand(1);
  app.set_version_flag("--version", "vex-traffic " VEX_VERSION);
  int result = 0;
  std::string path;

  CLI::App* printing = app.add_subcommand("print", "Print every message in a line");
  traffic::PrintOptions options;
  bool follow = false;
  printing->add_option("FILE", path, "A capture; - is standard input")->required();
  printing->add_option("--service", options.service, "Only this service, by name or number");
  printing->add_option("--message", options.message, "Only this message, by name or number");
  printing->add_flag("--octets", options.octets, "Arrays whole, and the datagrams");
  printing->add_flag("-f,--follow", follow, "Go on as the file grows");
  printing->callback([&] { result = traffic::print_file(path, options, follow); });

  CLI::App* reporting = app.add_subcommand("report", "Make a page of it, for a browser");
  std::string output;
  reporting->add_option("FILE", path, "A capture; - is standard input")->required();
  reporting->add_option("-o,--output", output, "The page, which must not exist")->required();
  reporting->callback([&] { result = traffic::report_file(path, output); });

  CLI::App* redacting =
      app.add_subcommand("redact", "Replace who the phone and its owner are, in a copy");
  redacting->add_option("FILE", path, "A capture")->required();
  redacting->add_option("-o,--output", output, "The copy, which must not exist")->required();
  redacting->callback([&] { result = traffic::redact_file(path, output); });

  CLI::App* comparing =
      app.add_subcommand("diff", "Show the first exchange in which two captures differ");
  std::string other;
  comparing->add_option("A", path, "A capture")->required();
  comparing->add_option("B", other, "Another")->required();
  comparing->callback([&] { result = traffic::diff_files(path, other); });

  app.add_subcommand("dissector", "Print a dissector for Wireshark, in Lua")->callback([] {
    std::fputs(traffic::dissector().c_str(), stdout);
  });

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& asked) {
    std::ostringstream text;
    const int status = app.exit(asked, text);
    std::fputs(text.str().c_str(), stdout);
    return status;
  } catch (const CLI::ParseError& error) {
    traffic::say(std::string(error.what()) + " (vex-traffic --help lists what there is)");
    return traffic::kUsage;
  }
  return result;
}

}  // namespace

// Only a lack of memory throws, and ends the program.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
  const int result = run(argc, argv);
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return result;
  return traffic::fail(std::string("standard output: ") + std::strerror(errno));
}
