// vex-run: runs vex and exits with what became of it, for scripts; explains result codes.

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

#include "changes.h"
#include "explain.h"
#include "process.h"

namespace {

using json = nlohmann::ordered_json;

// Exit statuses.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kNoModem = 3;
constexpr int kTimedOut = 124;  // as timeout(1)
constexpr int kNotRun = 125;

struct Options {
  run::Request request;
  double timeout_s = 0;
  std::string capture;
  bool as_json = false;
  bool changes = false;
};

int say(int status, const std::string& line) {
  std::fprintf(stderr, "vex-run: %s\n", line.c_str());
  return status;
}

int status_of(const std::string& outcome) {
  if (outcome == "ok") return kDone;
  if (outcome == "usage") return kUsage;
  if (outcome == "no_modem") return kNoModem;
  return kFailed;
}

void print_change(const run::Change& change) {
  const char* const verb = !change.before ? "added" : !change.after ? "removed" : "changed";
  std::printf("%s %s %s", verb, change.kind.c_str(), change.name.c_str());
  if (change.before) std::printf(": %s", change.before->c_str());
  if (change.before && change.after) std::printf(" ->");
  if (change.after) std::printf("%s %s", change.before ? "" : ":", change.after->c_str());
  std::printf("\n");
}

json json_of(const run::Change& change) {
  const auto text = [](const std::optional<std::string>& value) {
    return value ? json(*value) : json();
  };
  return {{"kind", change.kind},
          {"name", change.name},
          {"before", text(change.before)},
          {"after", text(change.after)}};
}

int run_vex(Options& options) {
  run::Snapshot before;
  run::Snapshot after;
  std::string why;
  if (options.changes && !run::take_snapshot(&before, &why)) return say(kNotRun, why);
  if (!options.capture.empty()) ::setenv("VEX_CAPTURE", options.capture.c_str(), 1);
  if (options.timeout_s > 0) {
    constexpr double kMsPerS = 1000;
    options.request.limit =
        std::chrono::milliseconds(static_cast<int64_t>(std::ceil(options.timeout_s * kMsPerS)));
  }
  options.request.quiet = options.as_json;
  const run::Run run = run::run_vex(options.request);
  int status = kNotRun;
  json record = json::parse(run.record, nullptr, false);
  if (run.end == run::End::kTimedOut) {
    std::ostringstream limit;
    limit << options.timeout_s;
    status = say(kTimedOut, "vex was ended after " + limit.str() + " s");
  } else if (run.end != run::End::kDone || !record.is_object() || !record["outcome"].is_string()) {
    status = say(kNotRun, run.why);
  } else {
    status = status_of(record["outcome"].get<std::string>());
  }
  std::vector<run::Change> found;
  if (options.changes) {
    if (!run::take_snapshot(&after, &why)) return say(kNotRun, why);
    found = run::changes(before, after);
  }
  const bool whole = status != kTimedOut && status != kNotRun;
  if (!options.as_json) {
    for (const run::Change& change : found) print_change(change);
  } else if (whole && options.changes) {
    record["changes"] = json::array();
    for (const run::Change& change : found) record["changes"].push_back(json_of(change));
    std::printf("%s\n", record.dump().c_str());
  } else if (whole) {
    std::printf("%s\n", run.record.c_str());
  }
  return std::fflush(stdout) == 0 ? status : say(kNotRun, "standard output: a write failed");
}

int explain(const std::vector<std::string>& words) {
  const std::string text = run::explain(words);
  if (text.empty()) return say(kFailed, "no such code (vex-run explain lists what there is)");
  std::fputs(text.c_str(), stdout);
  return std::fflush(stdout) == 0 ? kDone : say(kNotRun, "standard output: a write failed");
}

int run_words(int argc, char** argv) {
  CLI::App app{
      "Runs vex and exits with 0 done, 1 failed, 2 wrong words, 3 no modem, 124 after the\n"
      "time-out, 125 when it could not run. 'vex-run explain [LAYER] [CODE]' says what a result\n"
      "code means, by number or name."};
  app.set_version_flag("--version", "vex-run " VEX_VERSION);
  Options options;
  app.add_flag("--json", options.as_json, "Print the result record in place of vex's output");
  app.add_option("--timeout", options.timeout_s, "End vex after so many seconds")
      ->check(CLI::Range(0.001, 1e6))
      ->type_name("S");
  app.add_option("--capture", options.capture, "Capture its QMI traffic in a file")
      ->type_name("FILE");
  app.add_flag("--changes", options.changes,
               "Say which NV items, EFS files, properties and selections have changed");
  app.footer("WORDS: those of vex; 'explain [LAYER] [CODE]' is this program's own");
  app.prefix_command();
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& asked) {
    std::ostringstream text;
    app.exit(asked, text, text);
    std::fputs(text.str().c_str(), stdout);
    return kDone;
  } catch (const CLI::ParseError& error) {
    return say(kUsage, std::string(error.what()) + " (vex-run --help lists what there is)");
  }
  std::vector<std::string> words = app.remaining();
  if (!words.empty() && words.front() == "--") {
    words.erase(words.begin());
  } else if (!words.empty() && words.front() == "explain") {
    return explain({words.begin() + 1, words.end()});
  } else if (!words.empty() && words.front().starts_with("--")) {
    return say(kUsage, "unknown: " + words.front() + " (vex-run --help lists what there is)");
  }
  options.request.words = std::move(words);
  return run_vex(options);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run_words(argc, argv);
  } catch (const std::exception& error) {
    return say(kNotRun, error.what());
  }
}
