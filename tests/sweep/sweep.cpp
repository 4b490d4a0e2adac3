// Runs every command line with everything that can go wrong with each message of it.
//
//   usage: sweep [--seed N] [--part N] [--case N] [--write FILE] [--check FILE]
//
// --part: only every Nth case. --case: that one alone, and what it writes. --write and --check: the
// tables of outcomes at the end of FILE, which belong to seed 1.

#include "sweep/sweep.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <thread>

namespace {

namespace fs = std::filesystem;
using sweep::Case;
using sweep::Line;
using sweep::Run;

using Start = std::function<int(size_t number, const std::string& folder)>;
using Done = std::function<void(size_t number, const Run& run)>;

// Several runs at once, since some of them wait for a disk or for each other's threads.
const size_t kAtOnce = 2 * std::max(2u, std::thread::hardware_concurrency());

// Of the cases, every such one is also captured and replayed.
constexpr size_t kReplayed = 40;

void run_all(const fs::path& folder, size_t runs, const Start& start, const Done& done) {
  std::map<pid_t, size_t> running;
  for (size_t next = 0; next < runs || !running.empty();) {
    if (next < runs && running.size() < kAtOnce) {
      const fs::path own = folder / std::to_string(next);
      fs::create_directory(own);
      running[start(next, own)] = next;
      ++next;
      continue;
    }
    int status = 0;
    const auto ended = running.find(::waitpid(-1, &status, 0));
    if (ended == running.end()) std::abort();
    const fs::path own = folder / std::to_string(ended->second);
    done(ended->second, sweep::result(own, status));
    fs::remove_all(own);
    running.erase(ended);
  }
}

struct Row {
  std::array<size_t, 3> outcomes{};
  int64_t worst_ms = 0;
};

std::string tables(const std::vector<Row>& rows, const std::vector<Run>& clean) {
  std::ostringstream out;
  out << "| vex | messages | cases | failure | success | unaffected | worst, s | limit, s |\n"
      << "|---|---|---|---|---|---|---|---|\n"
      << std::fixed << std::setprecision(1);
  for (size_t i = 0; i < rows.size(); ++i) {
    const auto& [failure, success, unaffected] = rows[i].outcomes;
    const Line& line = sweep::lines()[i];
    out << "| " << line.words << " | " << clean[i].messages.size() << " | "
        << failure + success + unaffected << " | " << failure << " | " << success << " | "
        << unaffected << " | " << static_cast<double>(rows[i].worst_ms) / 1000 << " | "
        << line.limit_s << " |\n";
  }
  out << "\n| vex | message | action | why it is no failure |\n|---|---|---|---|\n"
      << sweep::exceptions();
  return out.str();
}

// What stands before the tables is written by hand.
bool same_or_written(const std::string& file, bool write, const std::string& text) {
  std::ifstream in(file);
  const std::string all{std::istreambuf_iterator<char>(in), {}};
  const size_t at = std::min(all.find("| vex |"), all.size());
  if (write) std::ofstream(file) << all.substr(0, at) << text;
  if (write || all.substr(at) == text) return true;
  std::cout << file << " has other outcomes than these (sweep --write " << file << "):\n" << text;
  return false;
}

struct Sweep {
  std::array<std::string, 2> phones;  // the second has an eUICC
  std::array<sweep::State, 2> before;
  std::vector<Run> clean = std::vector<Run>(sweep::lines().size());
  std::vector<Row> rows = std::vector<Row>(sweep::lines().size());
  std::vector<std::pair<size_t, Case>> cases;  // by their numbers
  std::map<std::string, std::string> problems;

  void note(const std::string& name, const std::string& problem) {
    if (!problem.empty()) problems[name] = problem;
  }

  void run_clean(const fs::path& folder) {
    for (const bool euicc : {false, true}) {
      phones[euicc] = folder / (euicc ? "euicc" : "phone");
      sweep::make_phone(phones[euicc], euicc);
      before[euicc] = sweep::state_of(phones[euicc]);
    }
    const std::vector<Line>& lines = sweep::lines();
    run_all(
        folder, lines.size(),
        [&](size_t i, const std::string& own) {
          return sweep::start(lines[i], {}, {}, phones[lines[i].euicc], own);
        },
        [&](size_t i, const Run& run) {
          clean[i] = run;
          note("vex " + lines[i].words, sweep::problem_of(lines[i], run));
        });
  }

  void choose(uint32_t seed, size_t part, std::optional<size_t> only) {
    size_t number = 0;
    for (size_t i = 0; i < clean.size(); ++i) {
      const Line& line = sweep::lines()[i];
      for (Case& c : sweep::cases_of(line, before[line.euicc], clean[i], seed)) {
        if (only ? number == *only : number % part == 0) cases.emplace_back(number, std::move(c));
        ++number;
      }
    }
  }

  // What was captured prints the same when it is replayed: every line with nothing wrong, and some
  // of the cases. At once, a reply that came too late is in time, and no attempt to open a PDC
  // client fails meanwhile.
  void run_replayed(const fs::path& folder) {
    std::vector<Case> all;
    for (size_t i = 0; i < clean.size(); ++i) {
      const Line& line = sweep::lines()[i];
      all.push_back(
          {line, before[line.euicc], clean[i], clean[i].messages.at(0), "nothing", false, {}});
    }
    for (size_t i = 0; i < cases.size(); i += kReplayed) {
      const Case& c = cases[i].second;
      const bool in_time =
          c.action == "delay" || (c.action == "restart" && c.message.service == "pdc");
      if (c.fault.cut_at == 0 && !in_time) all.push_back(c);
    }
    std::vector<std::string> captured(all.size());
    for (const bool replays : {false, true}) {
      const auto begin = [&](size_t i, const std::string& own) {
        sweep::Fault fault = replays ? sweep::Fault{} : all[i].fault;
        (replays ? fault.replay : fault.capture) = folder / ("capture" + std::to_string(i));
        return sweep::start(all[i].line, fault, {}, phones[all[i].line.euicc], own);
      };
      run_all(folder, all.size(), begin, [&](size_t i, const Run& run) {
        const std::string printed = sweep::shown(run.output + run.probe);
        if (!replays) captured[i] = printed;
        if (printed != captured[i]) note(all[i].name(), "it prints other lines when replayed");
      });
    }
  }

  void run_cases(const fs::path& folder, bool shown) {
    run_all(
        folder, cases.size(),
        [&](size_t i, const std::string& own) {
          const Case& c = cases[i].second;
          return sweep::start(c.line, c.fault, c.clean, phones[c.line.euicc], own);
        },
        [&](size_t i, const Run& run) {
          const auto& [number, c] = cases[i];
          Row& row = rows[static_cast<size_t>(&c.line - sweep::lines().data())];
          ++row.outcomes[sweep::outcome_of(c, run)];
          row.worst_ms = std::max(row.worst_ms, run.virtual_ms);
          note("case " + std::to_string(number) + ", " + c.name(), sweep::problem_of(c, run));
          if (shown) {
            std::cout << c.name() << c.fault.toml << "\n"
                      << run.output << "the probe:\n"
                      << run.probe;
          }
        });
  }
};

int run_sweep(const fs::path& folder, std::map<std::string, std::string>& options) {
  const auto number = [&](const char* name) -> std::optional<size_t> {
    if (options[name].empty()) return std::nullopt;
    return std::stoul(options[name]);
  };
  const std::optional<size_t> only = number("--case");
  Sweep all;
  all.run_clean(folder);
  all.choose(static_cast<uint32_t>(number("--seed").value_or(1)), number("--part").value_or(1),
             only);
  all.run_cases(folder, only.has_value());
  if (!only) all.run_replayed(folder);
  for (const auto& [name, problem] : all.problems) std::cout << name << ": " << problem << "\n";
  std::cout << all.cases.size() << " cases, " << all.problems.size() << " problems\n";
  bool good = all.problems.empty();
  for (const char* name : {"--write", "--check"}) {
    if (options[name].empty()) continue;
    const bool write = std::string(name) == "--write";
    good = same_or_written(options[name], write, tables(all.rows, all.clean)) && good;
  }
  return good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::map<std::string, std::string> options;
  for (int i = 1; i + 1 < argc; i += 2) options[argv[i]] = argv[i + 1];
  const std::string folder = desk::folder_in_memory("vex-sweep");
  const int status = run_sweep(folder, options);
  fs::remove_all(folder);
  return status;
}
