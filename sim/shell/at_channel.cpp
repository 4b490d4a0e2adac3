#include "sim/shell/at_channel.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include "platform/idl/nas.h"

namespace sim {
namespace {

// Octets beyond that are dropped: no command is so long, and a hostile writer must not fill the
// memory.
constexpr size_t kLineMax = 2048;

// NAS's radio technologies and +COPS's <AcT> of 3GPP TS 27.007.
constexpr std::pair<uint8_t, int> kAccessTechnologies[] = {
    {NAS_RAT_GSM, 0}, {NAS_RAT_UMTS, 2}, {NAS_RAT_LTE, 7}, {NAS_RAT_TDSCDMA, 2}, {NAS_RAT_NR, 11}};

// The 15 digits of NV item 550: a length, then a mobile identity (3GPP TS 24.008). None when it has
// none.
std::optional<std::string> imei_digits(std::string_view item) {
  constexpr size_t kOctets = 8;
  constexpr unsigned kImeiOfOddLength = 0xA;  // identity type 2, and the bit for an odd length
  const auto octet = [&](size_t i) { return static_cast<unsigned char>(item[i]); };
  if (item.size() < 1 + kOctets || octet(0) != kOctets || (octet(1) & 0xF) != kImeiOfOddLength) {
    return std::nullopt;
  }
  std::string digits;
  for (size_t nibble = 1; nibble < 2 * kOctets; ++nibble) {
    const unsigned digit = octet(1 + nibble / 2) >> nibble % 2 * 4 & 0xF;
    if (digit > 9) return std::nullopt;
    digits += static_cast<char>('0' + digit);
  }
  return digits;
}

std::string printable(std::string_view text) {
  std::string shown;
  for (const char c : text) {
    char octet[8];
    std::snprintf(octet, sizeof octet, "\\x%02X", static_cast<unsigned char>(c));
    shown += c >= ' ' && c <= '~' ? std::string(1, c) : octet;
  }
  return shown;
}

}  // namespace

struct AtChannel::Command {
  std::string_view line;  // in capitals; a received line may have either case
  Report report;
};

const AtChannel::Command AtChannel::kCommands[] = {
    {.line = "AT", .report = &AtChannel::attention},
    {.line = "ATI", .report = &AtChannel::identification},
    {.line = "AT+CGSN", .report = &AtChannel::serial_number},
    {.line = "AT+CSQ", .report = &AtChannel::signal_quality},
    {.line = "AT+COPS?", .report = &AtChannel::operator_selection},
};

AtChannel::AtChannel(Phone phone, PhoneConfig config, Log log)
    : phone_(std::move(phone)), config_(std::move(config)), log_(std::move(log)) {}

std::vector<std::string> AtChannel::take(std::string_view octets) {
  std::vector<std::string> replies;
  for (const char octet : octets) {
    if (octet != '\r' && octet != '\n') {
      if (line_.size() <= kLineMax) line_ += octet;
      continue;
    }
    if (!line_.empty()) replies.push_back(answer(line_));
    line_.clear();
  }
  return replies;
}

std::string AtChannel::answer(const std::string& line) {
  log_("< " + printable(line));
  std::string wanted = line;
  for (char& c : wanted) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  Texts lines;
  const auto* const command = std::ranges::find(kCommands, wanted, &Command::line);
  const bool done = command != std::end(kCommands) && (this->*command->report)(&lines);
  if (!done) lines.clear();
  std::string reply;
  for (const std::string& text : lines) reply += "\r\n" + text;
  if (!lines.empty()) reply += "\r\n";
  lines.emplace_back(done ? "OK" : "ERROR");
  for (const std::string& text : lines) log_("> " + printable(text));
  return reply + "\r\n" + lines.back() + "\r\n";
}

bool AtChannel::identification(Texts* lines) const {
  lines->emplace_back("vex simulated phone");
  if (Texts imei; serial_number(&imei)) lines->push_back("IMEI: " + imei[0]);
  return true;
}

bool AtChannel::serial_number(Texts* lines) const {
  std::string item;
  if (phone_.nv().read("0/550", &item) != 0) return false;
  const auto digits = imei_digits(item);
  if (digits) lines->push_back(*digits);
  return digits.has_value();
}

bool AtChannel::signal_quality(Texts* lines) const {
  int rssi = 99;  // not known; else (dBm + 113) / 2
  const auto level = received_level(config_.measurements[0]);
  if (level && !std::isnan(*level)) {
    rssi = static_cast<int>(std::floor((std::clamp(*level, -113.0F, -51.0F) + 113) / 2));
  }
  lines->push_back("+CSQ: " + std::to_string(rssi) + ",99");
  return true;
}

bool AtChannel::operator_selection(Texts* lines) const {
  const auto serving =
      std::ranges::find(config_.networks, NetworkUse::kServing, &NetworkConfig::in_use);
  if (serving == config_.networks.end()) {
    lines->emplace_back("+COPS: 0");
    return true;
  }
  std::string name = serving->name;
  std::erase_if(name, [](char c) { return c == '"' || static_cast<unsigned char>(c) < ' '; });
  const auto* const technology =
      std::ranges::find(kAccessTechnologies, serving->rat, &std::pair<uint8_t, int>::first);
  lines->push_back("+COPS: 0,0,\"" + name + "\"");
  if (technology != std::end(kAccessTechnologies)) {
    lines->back().append(",").append(std::to_string(technology->second));
  }
  return true;
}

}  // namespace sim
