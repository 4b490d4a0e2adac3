// Runs every command line with everything that can go wrong with each message of it.
//
//   usage: sweep [--seed N] [--part N] [--case N] [--write FILE] [--check FILE]
//
// --part: only every Nth case. --case: that one alone, and what it writes. --write and --check: the
// tables of outcomes at the end of FILE, which belong to seed 1.

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <thread>

#include "sweep/sweep.h"

namespace {

namespace fs = std::filesystem;
using sweep::Case;
using sweep::Line;
using sweep::Run;

using Start = std::function<int(size_t number, const std::string& folder)>;
using Done = std::function<void(size_t number, const Run& run)>;

// Several runs at once: most of their time they wait for each other's threads.
const size_t kAtOnce = 8 * std::max(2u, std::thread::hardware_concurrency());

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

int sweep_all(const fs::path& folder, std::map<std::string, std::string>& options) {
  const auto number = [&](const char* name, size_t otherwise) {
    return options[name].empty() ? otherwise : std::stoul(options[name]);
  };
  const std::vector<Line>& lines = sweep::lines();
  const std::array<std::string, 2> phones{folder / "phone", folder / "euicc"};
  std::array<sweep::State, 2> before;
  for (const bool euicc : {false, true}) {
    sweep::make_phone(phones[euicc], euicc);
    before[euicc] = sweep::state_of(phones[euicc]);
  }
  std::map<std::string, std::string> problems;
  std::vector<Run> clean(lines.size());
  run_all(
      folder, lines.size(),
      [&](size_t i, const std::string& own) {
        return sweep::start(lines[i], {}, {}, phones[lines[i].euicc], own);
      },
      [&](size_t i, const Run& run) {
        clean[i] = run;
        const std::string problem = sweep::problem_of(lines[i], run);
        if (!problem.empty()) problems["vex " + lines[i].words] = problem;
      });

  std::vector<Case> cases;
  std::vector<std::pair<size_t, size_t>> chosen;  // the case, and its line
  const size_t part = number("--part", 1);
  for (size_t i = 0; i < lines.size(); ++i) {
    for (Case& c : sweep::cases_of(lines[i], before[lines[i].euicc], clean[i],
                                   static_cast<uint32_t>(number("--seed", 1)))) {
      const bool wanted = cases.size() == number("--case", cases.size());
      if (wanted && cases.size() % part == 0) chosen.emplace_back(cases.size(), i);
      cases.push_back(std::move(c));
    }
  }
  std::vector<Row> rows(lines.size());
  run_all(
      folder, chosen.size(),
      [&](size_t i, const std::string& own) {
        const Case& c = cases[chosen[i].first];
        return sweep::start(c.line, c.fault, c.clean, phones[c.line.euicc], own);
      },
      [&](size_t i, const Run& run) {
        const Case& c = cases[chosen[i].first];
        Row& row = rows[chosen[i].second];
        ++row.outcomes[sweep::outcome_of(c, run)];
        row.worst_ms = std::max(row.worst_ms, run.virtual_ms);
        const std::string name = "case " + std::to_string(chosen[i].first) + ", " + c.name();
        const std::string problem = sweep::problem_of(c, run);
        if (!problem.empty()) problems[name] = problem;
        if (chosen.size() == 1) {
          std::cout << name << c.fault.toml << "\n" << run.output << "the probe:\n" << run.probe;
        }
      });
  for (const auto& [name, problem] : problems) std::cout << name << ": " << problem << "\n";
  std::cout << chosen.size() << " cases, " << problems.size() << " problems\n";
  bool good = problems.empty();
  for (const char* name : {"--write", "--check"}) {
    if (options[name].empty()) continue;
    const bool write = std::string(name) == "--write";
    good = same_or_written(options[name], write, tables(rows, clean)) && good;
  }
  return good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::map<std::string, std::string> options;
  for (int i = 1; i + 1 < argc; i += 2) options[argv[i]] = argv[i + 1];
  // In memory, where there is such a place: a phone's every file is synced.
  const fs::path memory = "/dev/shm";
  const bool usable = ::access(memory.c_str(), W_OK) == 0;
  std::string folder = (usable ? memory : fs::temp_directory_path()) / "vex-sweep-XXXXXX";
  if (::mkdtemp(folder.data()) == nullptr) return 2;
  const int status = sweep_all(folder, options);
  fs::remove_all(folder);
  return status;
}
