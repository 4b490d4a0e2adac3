#include <algorithm>
#include <optional>
#include <sstream>

#include "platform/idl/uim.h"
#include "platform/idl/vs.h"
#include "sweep/sweep.h"

namespace sweep {
namespace {

using sim::FaultKind;

struct Group {
  const char* probe;  // empty: the line itself
  int limit_s;
  bool euicc;
  bool recovers;
  const char* lines;  // separated by ";"
};

constexpr char kNv[] = "4 1 0 550";
constexpr Group kGroups[] = {
    // The vendor client waits for 3 s; a full dump begins with a wait of 5 s.
    {kNv, 4, false, false, "3 0 1 2 3;3 1;3 2;3 3 1 4 0x10;3 4;3 5"},
    {kNv, 4, false, false, "4 1 0 550;4 2 0 551 1 2 3;4 3 0 550;4 4 0 /sweep/file"},
    {kNv, 4, false, false, "4 5 0 /sweep/file 7 8 9;4 6 0 /sweep/file;6 2 1;7 1 0;7 1 1"},
    {kNv, 4, false, false, "5 1;5 2 0;5 3 0 0 1;5 4;5 6 0;5 6 1 1 1 2"},
    {kNv, 4, false, false, "11 0;11 2;11 4 0;11 4 1;11 5 0;11 5 1;11 6 0;11 6 1"},
    {kNv, 9, false, false, "11 1"},
    // Diag: what is typed, or 1 s; 2 s for the service. SAR: 30 s.
    {"", 3, false, false, "5 0 0 0 1000 0;5 0 0 1 0 0;5 0 1 0 1000 0;5 0 1 1 0 0"},
    {"", 31, false, false, "5 5"},
    // UIM: 3 s, and 4 s for the service, which each of 30 polls may wait for.
    {"", 130, false, false, "5 10 1 1"},
    {"", 10, true, false, "5 10 2 1"},
    {"", 10, true, true, "5 10 3 1"},
    {"5 10 2 1", 10, false, true, "5 10 4 1"},
    {"5 10 3 1", 10, true, true, "5 10 5 1"},
    // The statistics service: 30 s.
    {"", 35, false, true, "9 0 0;9 1 0;9 2 0;9 3 0;9 4 0;9 5 0;9 6 0;9 7 0;9 8 0;9 9 0;9 10 0"},
    {"", 35, false, true, "9 11 0;9 12 0;9 20 1;9 21 1;9 30 0;9 31 0;9 31 1;9 31 2;9 31 3"},
    // PDC: 10 s, and 20 attempts of 9 s to find the service. NAS: 10 s, and 5 s for the service.
    {"10 1 3", 185, false, false, "10 0 1;10 0 3;10 1 1;10 1 3"},
    {"", 15, false, false, "12 0;12 1"},
};

struct Exception {
  const char* words;  // what the command line begins with
  const char* service;
  uint16_t message;  // 0: any
  std::optional<FaultKind> kind;
  const char* action;  // what it begins with
  const char* why;
};
constexpr auto kAny = std::nullopt;

constexpr Exception kExceptions[] = {
    {"5 5", "sar", 0, kAny, "qmi-error", "the state is shown as it stands in the response"},
    {"5 10 ", "uim", UIM_POWER_DOWN, kAny, "qmi-error", "a power request is done when answered"},
    {"5 10 ", "uim", UIM_POWER_UP, kAny, "qmi-error", "a power request is done when answered"},
    {"5 10 ", "uim", UIM_LOGICAL_CHANNEL, kAny, "qmi-error", "a closing is done when answered"},
    {"9 ", "vs", VS_FEATURE_STATUS, kAny, "",
     "the getter is asked whether the feature has started or not"},
    {"10 ", "pdc", 0, FaultKind::kResponse, "qmi-error",
     "a response is a receipt; the indication has the outcome"},
    {"12 ", "nas", 0, kAny, "qmi-error", "a scan is done when answered"},
    {"12 1", "nas", 0, FaultKind::kIndication, "", "what a scan finds is not shown"},
};

}  // namespace

const std::vector<Line>& lines() {
  static const std::vector<Line> all = [] {
    std::vector<Line> made;
    for (const Group& group : kGroups) {
      std::istringstream in(group.lines);
      for (std::string words; std::getline(in, words, ';');) {
        const std::string probe = *group.probe != '\0' ? group.probe : words;
        made.push_back({words, probe, group.limit_s, group.euicc, group.recovers});
      }
    }
    return made;
  }();
  return all;
}

bool is_excepted(const Case& c) {
  return std::any_of(std::begin(kExceptions), std::end(kExceptions), [&](const Exception& e) {
    const Message& m = c.message;
    return c.line.words.starts_with(e.words) && m.service == e.service &&
           (e.message == 0 || m.id() == e.message) && (!e.kind || m.kind == *e.kind) &&
           c.action.starts_with(e.action);
  });
}

std::string exceptions() {
  std::ostringstream out;
  for (const Exception& e : kExceptions) {
    out << "| " << e.words << " | " << e.service << " 0x" << std::hex << e.message << " | "
        << e.action << " | " << e.why << " |\n";
  }
  return out.str();
}

}  // namespace sweep
