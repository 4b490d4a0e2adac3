#include <algorithm>
#include <csignal>
#include <random>
#include <set>
#include <sstream>

#include "platform/idl/uim.h"
#include "sweep/sweep.h"

namespace sweep {
namespace {

using sim::FaultKind;

constexpr size_t kHeader = 7;           // of a QMI message
constexpr size_t kFirst = kHeader + 3;  // the value of its first TLV
constexpr const char* kKinds[] = {"request", "response", "indication"};

struct Change {
  const char* what;
  size_t at;
  const char* octets;
};

std::vector<Change> changes_of(const std::vector<uint8_t>& octets, std::mt19937& random) {
  static constexpr const char* kAny[] = {"0", "1", "127", "128", "255"};
  const size_t second = kFirst + octets.at(kHeader + 1) + (octets.at(kHeader + 2) << 8);
  return {{"message id", 3, "255"},
          {"message length", 5, "255, 255"},
          {"first TLV type", kHeader, "238"},
          {"first TLV length", kHeader + 1, "255, 255"},
          {"first TLV length to 0", kHeader + 1, "0, 0"},
          {"result", kFirst, "1, 0, 3, 0"},
          {"second TLV length", second + 1, "255, 255"},
          {"second TLV's count", second + 3, "255, 255, 255, 255"},
          {"second TLV's count to 0", second + 3, "0, 0, 0, 0"},
          {"last octet", octets.size() - 1, "255"},
          {"some octet", random() % octets.size(), kAny[random() % std::size(kAny)]}};
}

struct Action {
  std::string name;
  bool fatal;
  std::string toml;
};

std::vector<Action> actions_on(const Message& m, std::mt19937& random) {
  std::vector<Action> all = {{"drop", true, "action = \"drop\""},
                             {"delay", true, "action = \"delay\"\nms = 40000"},
                             {"qmi-error", true, "action = \"qmi-error\"\nerror = 3"},
                             {"duplicate", false, "action = \"duplicate\""},
                             {"restart", true, "action = \"restart\""}};
  if (m.kind == FaultKind::kRequest) return all;
  if (m.kind == FaultKind::kResponse) {
    all.push_back({"wrong-transaction", true, "action = \"wrong-transaction\""});
    all.push_back({"after-indication", false, "action = \"after-indication\""});
  }
  if (m.service == "vendor") {
    all.push_back({"vendor-error", true, "action = \"vendor-error\"\nresult = 5"});
  }
  const size_t size = m.octets.size();
  for (const size_t left : std::set<size_t>{0, 3, kHeader, kHeader + 4, size - 1}) {
    if (left >= size) continue;
    const std::string octets = std::to_string(left);
    all.push_back({"truncate to " + octets, true, "action = \"truncate\"\noctets = " + octets});
  }
  for (const Change& change : changes_of(m.octets, random)) {
    if (change.at >= size) continue;
    all.push_back({std::string("change ") + change.what, false,
                   "action = \"change\"\nat = " + std::to_string(change.at) + "\noctets = [" +
                       change.octets + "]"});
  }
  return all;
}

// The lines that report a failure.
std::multiset<std::string> failures(const std::string& output) {
  // What commands say of one other than by error lines.
  static constexpr const char* kOwn[] = {"value=FAILED",     "UNKNOWN,UNKNOWN",   "SAR DSI: -1",
                                         "_config_ex ret -", "_config ret_val -", "ret_pdc: -"};
  std::multiset<std::string> lines;
  std::istringstream in(output);
  for (std::string line; std::getline(in, line);) {
    const bool own = std::any_of(std::begin(kOwn), std::end(kOwn), [&](const char* text) {
      return line.find(text) != std::string::npos;
    });
    if (own || line.starts_with(kErrorMark)) lines.insert(line);
  }
  return lines;
}

// Whether one run reports a failure that the other does not.
bool reports_more(const std::string& output, const std::string& clean) {
  const auto got = failures(output);
  const auto had = failures(clean);
  return !std::includes(had.begin(), had.end(), got.begin(), got.end());
}

// Whether some request was sent again, but for its transaction: what failed may have come later.
bool asked_again(const Case& c, const Run& run) {
  std::set<std::string> asked;
  for (const Message& m : run.messages) {
    if (m.kind != FaultKind::kRequest || m.service != c.message.service) continue;
    if (m.id() != c.message.id()) continue;
    if (!asked.insert(desk::hex(std::span(m.octets).subspan(3))).second) return true;
  }
  return false;
}

// Whether each item and file is the old one or the new one.
bool is_torn(const Case& c, const Run& run) {
  State either;
  State both;
  const auto [few, many] = std::minmax({c.before.size(), c.clean.state.size()});
  std::set_union(c.before.begin(), c.before.end(), c.clean.state.begin(), c.clean.state.end(),
                 std::inserter(either, either.end()));
  std::set_intersection(c.before.begin(), c.before.end(), c.clean.state.begin(),
                        c.clean.state.end(), std::inserter(both, both.end()));
  return !std::includes(either.begin(), either.end(), run.state.begin(), run.state.end()) ||
         !std::includes(run.state.begin(), run.state.end(), both.begin(), both.end()) ||
         run.state.size() < few || run.state.size() > many;
}

// Whether the command left a logical channel open that it was told of.
bool leaves_channel(const Run& run) {
  int open = 0;
  for (const Message& m : run.messages) {
    if (m.service != "uim" || m.octets.size() <= kFirst) continue;
    const bool good = m.kind == FaultKind::kResponse && m.octets[kFirst] == 0;
    if (m.id() == UIM_OPEN_LOGICAL_CHANNEL && good) ++open;
    if (m.id() == UIM_LOGICAL_CHANNEL && m.kind == FaultKind::kRequest) --open;
  }
  return open > 0;
}

}  // namespace

std::string shown(const std::string& output) {
  std::istringstream in(output);
  std::string kept;
  for (std::string line; std::getline(in, line);) {
    if (!line.starts_with(kDebugMark)) kept += line + "\n";
  }
  return kept;
}

std::string Case::name() const {
  std::ostringstream out;
  out << "vex " << line.words << ": " << action << ", " << message.service << ' '
      << kKinds[static_cast<int>(message.kind)] << ' ' << message.nth << " (0x" << std::hex
      << message.id() << ")";
  return out.str();
}

std::vector<Case> cases_of(const Line& line, const State& before, const Run& clean, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<Case> cases;
  uint32_t requests = 0;
  cases.push_back({line, before, clean, clean.messages.at(0), "no bus", true, {"", Fault::kNoBus}});
  for (const Message& m : clean.messages) {
    const std::string rule = "\n[[fault]]\nservice = \"" + m.service + "\"\nkind = \"" +
                             kKinds[static_cast<int>(m.kind)] +
                             "\"\nnth = " + std::to_string(m.nth) + "\n";
    for (const Action& action : actions_on(m, random)) {
      cases.push_back(
          {line, before, clean, m, action.name, action.fatal, {rule + action.toml + "\n"}});
    }
    if (m.kind != FaultKind::kRequest) continue;
    ++requests;
    cases.push_back({line, before, clean, m, "bus gone before", true, {"", requests, false}});
    cases.push_back({line, before, clean, m, "bus gone behind", true, {"", requests, true}});
  }
  return cases;
}

Outcome outcome_of(const Case& c, const Run& run) {
  if (reports_more(run.output, c.clean.output)) return kFailure;
  return shown(run.output) == shown(c.clean.output) ? kUnaffected : kSuccess;
}

std::string problem_of(const Line& line, const Run& run) {
  if (run.status == 128 + SIGALRM) return "it does not end";
  if (run.status != 0) return "it ends with status " + std::to_string(run.status);
  if (run.virtual_ms <= line.limit_s * 1000) return "";
  return "it takes " + std::to_string(run.virtual_ms) + " ms";
}

std::string problem_of(const Case& c, const Run& run) {
  if (const std::string text = problem_of(c.line, run); !text.empty()) return text;
  if (is_torn(c, run)) return "an NV item or EFS file is neither the old one nor the new one";
  if (run.descriptors > c.clean.descriptors) return "a descriptor is left open";
  if (run.threads > c.clean.threads) return "a thread is left";
  const bool lost = c.fault.cut_at != 0 || (c.action == "restart" && !c.line.recovers);
  if (!lost && reports_more(run.probe, c.clean.output + c.clean.probe)) {
    return "then \"vex " + c.line.probe + "\" fails";
  }
  if (outcome_of(c, run) == kFailure) return "";
  if (c.message.id() != UIM_OPEN_LOGICAL_CHANNEL && leaves_channel(run))
    return "a logical channel is left open";
  if (c.fatal && !asked_again(c, run) && !is_excepted(c)) return "no failure is reported";
  return "";
}

}  // namespace sweep
