#include "sim/config/fault_rules.h"

#include <array>

#include "sim/config/key.h"

namespace sim {
namespace {

constexpr Range kDay{0, 86400000, "ms"};
constexpr Range kMessageOctets{0, 65535};  // as many as a QMI message can have

constexpr KeyTable kDelayKeys({
    required(number<&FaultRule::delay>("ms", kDay, "how long")),
});
constexpr KeyTable kQmiErrorKeys({
    required(number<&FaultRule::code>("error", {0, 0xFFFF}, "the QMI error")),
});
constexpr KeyTable kVendorErrorKeys({
    required(number<&FaultRule::code>("result", "the result")),
});
constexpr KeyTable kTruncateKeys({
    required(number<&FaultRule::keep>("octets", kMessageOctets, "what is left of the message")),
});
constexpr KeyTable kChangeKeys({
    required(number<&FaultRule::at>("at", kMessageOctets,
                                    "where; 0: its 7 octets of header, 7: its first TLV")),
    required(numbers<&FaultRule::octets>("octets", 0, "what is written there")),
});

struct ActionRow {
  const char* name;
  FaultAction action;
  const char* comment;
  Keys<FaultRule> keys = {};
};
constexpr ActionRow kActions[] = {
    {"drop", FaultAction::kDrop, "the message is lost"},
    {"delay", FaultAction::kDelay, "it comes later", kDelayKeys},
    {"qmi-error", FaultAction::kQmiError,
     "the standard result is a failure with this error (of an indication: its outcome, where it "
     "has one; not of vendor, which has no standard result)",
     kQmiErrorKeys},
    {"vendor-error", FaultAction::kVendorError,
     "the vendor function's own result is this one (vendor alone)", kVendorErrorKeys},
    {"truncate", FaultAction::kTruncate, "its end is cut off", kTruncateKeys},
    {"change", FaultAction::kChange, "octets are written over it", kChangeKeys},
    {"duplicate", FaultAction::kDuplicate, "it comes twice"},
    {"wrong-transaction", FaultAction::kWrongTransaction, "its transaction id is another"},
    {"after-indication", FaultAction::kAfterIndication,
     "a response is held until the client's next indication has gone"},
    {"restart", FaultAction::kRestart, "it is lost, and the modem restarts"},
};
constexpr auto kActionNames = [] {
  std::array<Choice, std::size(kActions)> names;
  for (size_t i = 0; i < names.size(); ++i) names[i] = {kActions[i].name, kActions[i].action};
  return names;
}();

constexpr Choice kKinds[] = {{"request", FaultKind::kRequest},
                             {"response", FaultKind::kResponse},
                             {"indication", FaultKind::kIndication}};

constexpr KeyOf<FaultRule> kService{{.name = "service",
                                     .type = KeyType::kChoice,
                                     .comment = "whose messages the rule watches; or \"any\"",
                                     .range = {0, 64},
                                     .names = service_names,
                                     .read =
                                         [](const Table& table, const Key& key, void* rule) {
                                           const std::string name = read_text(table, key);
                                           const auto id = service_id(name);
                                           if (!id && name != "any") {
                                             table.fail(key.name, "must be one of " +
                                                                      service_list() + ", any");
                                           }
                                           static_cast<FaultRule*>(rule)->service = id;
                                         },
                                     .fallback = [](const Key&) { return toml_text("any"); }}};

constexpr KeyTable kKeys({
    kService,
    number<&FaultRule::message>("message", {0, 0xFFFF}, "the message id; left out: any"),
    choice<&FaultRule::kind>("kind", kKinds, "the kind of message"),
    number<&FaultRule::nth>("nth", "which match since the modem started, from 1; 0: every one"),
    required(choice<&FaultRule::action>("action", kActionNames,
                                        "what becomes of the message, with keys of its own")),
});
constexpr Keys<FaultRule> kFault(kKeys);

FaultRule fault(Table& table) {
  FaultRule rule;
  rule.text = table.written();
  kFault.read(table, rule);
  std::ranges::find(kActions, rule.action, &ActionRow::action)->keys.read(table, rule);
  if (rule.action == FaultAction::kAfterIndication && rule.kind != FaultKind::kResponse) {
    table.fail("action", "after-indication is for responses");
  }
  table.done();
  return rule;
}

}  // namespace

std::vector<FaultRule> read_faults(Table& top) {
  std::vector<FaultRule> faults;
  for (Table& table : top.tables("fault")) faults.push_back(fault(table));
  return faults;
}

std::vector<Section> fault_sections() {
  std::vector<Section> sections = {
      {"fault",
       "Faults. Each rule watches the messages of one service and acts on those that match. A rule "
       "that no message met is reported when the modem stops.",
       kFault.rows(), Section::Kind::kList}};
  for (const ActionRow& row : kActions) {
    sections.push_back({"fault", row.comment, row.keys.rows(), Section::Kind::kPart,
                        "action = " + toml_text(row.name)});
  }
  return sections;
}

}  // namespace sim
