#include "sim/modem/faults.h"

#include <algorithm>
#include <tuple>

#include "qcci/services/assumed.h"
#include "qcci/wire/packet.h"
#include "sim/modem/answer.h"

namespace sim {
namespace {

using qcci::QmiHeader;

constexpr size_t kMostCopies = 16;  // of one message, however many rules duplicate it

uint8_t octet(uint32_t v, int n) { return static_cast<uint8_t>(v >> 8 * n); }

// Where an indication has its error, when its first TLV is that.
constexpr uint8_t kErrorType = 0x01;
constexpr size_t kErrorAt = qcci::kQmiHeader + 3;

// A message on its way, as the rules before have left it.
struct InTransit {
  FaultKind kind;
  QmiHeader header;
  std::vector<uint8_t> octets;
  size_t copies = 1;
  FaultOutcome outcome = {};
};

void set_indicated_error(std::vector<uint8_t>& octets, uint32_t error) {
  const bool has = octets.size() >= kErrorAt + 2 && octets[qcci::kQmiHeader] == kErrorType &&
                   octets[qcci::kQmiHeader + 1] == 2;
  if (!has) return;
  octets[kErrorAt] = octet(error, 0);
  octets[kErrorAt + 1] = octet(error, 1);
}

void drop(const FaultRule&, InTransit& message) { message.copies = 0; }

void delay(const FaultRule& rule, InTransit& message) { message.outcome.delay += rule.delay; }

// Puts the error response in the message's place; in an indication only its error is changed.
void fail(InTransit& message, uint32_t code, std::vector<uint8_t> response) {
  if (message.kind == FaultKind::kIndication) {
    set_indicated_error(message.octets, code);
    return;
  }
  message.octets = std::move(response);
  message.outcome.answered = message.kind == FaultKind::kRequest;
}

void qmi_error(const FaultRule& rule, InTransit& message) {
  fail(message, rule.code, answer_error(message.header, static_cast<uint16_t>(rule.code)));
}

void vendor_error(const FaultRule& rule, InTransit& message) {
  const uint32_t c = rule.code;
  fail(message, c,
       answer(message.header,
              {qcci::assumed::kVendorFirst, 4, 0, octet(c, 0), octet(c, 1), octet(c, 2),
               octet(c, 3), qcci::assumed::kVendorSecond, 4, 0, 0, 0, 0, 0}));
}

void truncate(const FaultRule& rule, InTransit& message) {
  message.octets.resize(std::min<size_t>(message.octets.size(), rule.keep));
}

void change(const FaultRule& rule, InTransit& message) {
  for (size_t i = 0; i < rule.octets.size() && rule.at + i < message.octets.size(); ++i) {
    message.octets[rule.at + i] = rule.octets[i];
  }
}

void duplicate(const FaultRule&, InTransit& message) {
  message.copies = std::min(message.copies * 2, kMostCopies);
}

void wrong_transaction(const FaultRule&, InTransit& message) {
  constexpr uint8_t kFlipped = 0x55;  // any bits but none
  if (message.octets.size() > 1) message.octets[1] ^= kFlipped;
}

void after_indication(const FaultRule&, InTransit& message) {
  message.outcome.after_indication = true;
}

void restart(const FaultRule&, InTransit& message) {
  message.outcome.restart = true;
  message.copies = 0;
}

constexpr struct {
  FaultAction action;
  void (*act)(const FaultRule& rule, InTransit& message);
} kEffects[] = {
    {FaultAction::kDrop, drop},
    {FaultAction::kDelay, delay},
    {FaultAction::kQmiError, qmi_error},
    {FaultAction::kVendorError, vendor_error},
    {FaultAction::kTruncate, truncate},
    {FaultAction::kChange, change},
    {FaultAction::kDuplicate, duplicate},
    {FaultAction::kWrongTransaction, wrong_transaction},
    {FaultAction::kAfterIndication, after_indication},
    {FaultAction::kRestart, restart},
};

}  // namespace

Faults::Faults(std::vector<FaultRule> rules) {
  for (FaultRule& rule : rules) rules_.push_back({std::move(rule)});
}

void Faults::replace(std::vector<FaultRule> rules) {
  Faults next(std::move(rules));
  for (Counted& counted : next.rules_) {
    const auto same = std::ranges::find(rules_, counted.rule.text,
                                        [](const Counted& one) { return one.rule.text; });
    if (same == rules_.end()) continue;
    counted = std::move(*same);
    rules_.erase(same);  // so that of two alike each keeps its own
  }
  rules_ = std::move(next.rules_);
}

std::vector<std::string> Faults::counts() const {
  std::vector<std::string> texts;
  for (const Counted& counted : rules_) {
    texts.push_back(std::to_string(counted.matches) + " met: " + counted.rule.text);
  }
  return texts;
}

FaultOutcome Faults::apply(uint32_t service, FaultKind kind, std::vector<uint8_t> octets) {
  InTransit message{kind, {}, std::move(octets)};
  std::ignore = QmiHeader::parse(message.octets, &message.header);
  for (Counted& counted : rules_) {
    const FaultRule& rule = counted.rule;
    if (rule.kind != kind || (rule.service && *rule.service != service) ||
        (rule.message && *rule.message != message.header.message)) {
      continue;
    }
    if (++counted.matches != rule.nth && rule.nth != 0) continue;
    counted.acted = true;
    message.outcome.rules.push_back(rule.text);
    std::ranges::find_if(kEffects, [&](const auto& row) {
      return row.action == rule.action;
    })->act(rule, message);
  }
  message.outcome.copies.assign(message.copies, message.octets);
  return std::move(message.outcome);
}

std::vector<std::string> Faults::unused() const {
  std::vector<std::string> texts;
  for (const Counted& counted : rules_) {
    if (!counted.acted) texts.push_back(counted.rule.text);
  }
  return texts;
}

}  // namespace sim
