#include "sim/modem/faults.h"

#include <algorithm>
#include <tuple>

#include "qcci/services/assumed.h"
#include "qcci/wire/packet.h"
#include "sim/modem/answer.h"

namespace sim {
namespace {

using qcci::QmiHeader;

constexpr size_t kMostCopies = 16;

uint8_t octet(uint32_t v, int n) { return static_cast<uint8_t>(v >> 8 * n); }

// What an indication says of its outcome, where it says so in the first TLV.
constexpr uint8_t kOutcomeType = 0x01;
constexpr size_t kOutcomeAt = qcci::kQmiHeader + 3;

std::vector<uint8_t> with_outcome(std::vector<uint8_t> octets, uint16_t error) {
  const bool has = octets.size() >= kOutcomeAt + 2 && octets[qcci::kQmiHeader] == kOutcomeType &&
                   octets[qcci::kQmiHeader + 1] == 2;
  if (has) {
    octets[kOutcomeAt] = octet(error, 0);
    octets[kOutcomeAt + 1] = octet(error, 1);
  }
  return octets;
}

std::vector<uint8_t> error_response(const QmiHeader& header, const FaultRule& rule) {
  const uint32_t c = rule.code;
  if (rule.action == FaultAction::kQmiError) return answer_error(header, static_cast<uint16_t>(c));
  return answer(header, {qcci::assumed::kVendorFirst, 4, 0, octet(c, 0), octet(c, 1), octet(c, 2),
                         octet(c, 3), qcci::assumed::kVendorSecond, 4, 0, 0, 0, 0, 0});
}

}  // namespace

Faults::Faults(std::vector<FaultRule> rules) {
  for (FaultRule& rule : rules) rules_.push_back({std::move(rule)});
}

Fate Faults::apply(uint32_t service, FaultKind kind, std::vector<uint8_t> octets) {
  Fate fate;
  size_t copies = 1;
  QmiHeader header;
  std::ignore = QmiHeader::parse(octets, &header);
  for (Counted& counted : rules_) {
    const FaultRule& rule = counted.rule;
    if (rule.kind != kind || (rule.service && *rule.service != service) ||
        (rule.message && *rule.message != header.message)) {
      continue;
    }
    if (++counted.matches != rule.nth && rule.nth != 0) continue;
    counted.acted = true;
    fate.rules.push_back(rule.text);
    switch (rule.action) {
      case FaultAction::kDrop:
        copies = 0;
        break;
      case FaultAction::kDelay:
        fate.delay += rule.delay;
        break;
      case FaultAction::kQmiError:
      case FaultAction::kVendorError:
        if (kind == FaultKind::kIndication) {
          octets = with_outcome(std::move(octets), static_cast<uint16_t>(rule.code));
          break;
        }
        octets = error_response(header, rule);
        fate.answered = kind == FaultKind::kRequest;
        break;
      case FaultAction::kTruncate:
        octets.resize(std::min<size_t>(octets.size(), rule.keep));
        break;
      case FaultAction::kChange:
        for (size_t i = 0; i < rule.octets.size() && rule.at + i < octets.size(); ++i) {
          octets[rule.at + i] = rule.octets[i];
        }
        break;
      case FaultAction::kDuplicate:
        copies = std::min(copies * 2, kMostCopies);
        break;
      case FaultAction::kWrongTransaction:
        if (octets.size() > 1) octets[1] = static_cast<uint8_t>(octets[1] ^ 0x55);
        break;
      case FaultAction::kAfterIndication:
        fate.after_indication = true;
        break;
      case FaultAction::kRestart:
        fate.restart = true;
        copies = 0;
        break;
    }
  }
  fate.copies.assign(copies, octets);
  return fate;
}

std::vector<std::string> Faults::unmet() const {
  std::vector<std::string> texts;
  for (const Counted& counted : rules_) {
    if (!counted.acted) texts.push_back(counted.rule.text);
  }
  return texts;
}

}  // namespace sim
