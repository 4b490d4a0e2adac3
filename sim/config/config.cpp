#include "sim/config/config.h"

#include <algorithm>

#include "platform/idl/nas.h"
#include "qcci/services/services.h"
#include "sim/config/toml_table.h"

namespace sim {
namespace {

// The service of a name; null when the phone has none of that name.
qmi_idl_service_object_type service_named(const std::string& name) {
  for (const auto known : qcci::idl::all_services()) {
    if (name == known->name) return known;
  }
  return nullptr;
}

std::string service_names() {
  std::string names;
  for (const auto known : qcci::idl::all_services()) {
    names += std::string(names.empty() ? "" : ", ") + known->name;
  }
  return names;
}

std::vector<uint32_t> absent_services(Table& modem) {
  std::vector<uint32_t> ids;
  for (const std::string& name : modem.texts("absent")) {
    const auto service = service_named(name);
    if (service == nullptr) {
      modem.fail("absent", "holds \"" + name + "\", which is none of " + service_names());
    }
    ids.push_back(service->id);
  }
  return ids;
}

// A date and a time as a compiler writes them.
std::string build_time(Table& diag, const char* key) {
  static constexpr std::string_view kShape = "Mmm dd yyyy hh:mm:ss";
  const std::string text = diag.text(key, "Jan 01 2026 00:00:00", kShape.size());
  if (text.size() != kShape.size()) diag.fail(key, "is not \"" + std::string(kShape) + "\"");
  return text;
}

DiagConfig diag(Table table) {
  DiagConfig config;
  config.compiled = build_time(table, "compiled");
  config.released = build_time(table, "released");
  config.version = table.text("version", "", 8);
  config.model = static_cast<uint8_t>(table.number("model", 0, 0, 0xFF));
  config.firmware = static_cast<uint16_t>(table.number("firmware", 0, 0, 0xFFFF));
  config.hardware[0] = static_cast<uint8_t>(table.number("hardware_major", 0, 0, 0xFF));
  config.hardware[1] = static_cast<uint8_t>(table.number("hardware_minor", 0, 0, 0xFF));
  table.done();
  return config;
}

NetworkConfig network(Table table) {
  static constexpr std::pair<const char*, uint8_t> kRats[] = {{"gsm", NAS_RAT_GSM},
                                                              {"umts", NAS_RAT_UMTS},
                                                              {"lte", NAS_RAT_LTE},
                                                              {"tdscdma", NAS_RAT_TDSCDMA},
                                                              {"nr", NAS_RAT_NR}};
  static constexpr std::pair<const char*, uint8_t> kInUse[] = {
      {"unknown", 0}, {"serving", 1}, {"available", 2}};
  const auto word = [](const auto& words, uint8_t v) {
    return std::find_if(std::begin(words), std::end(words),
                        [v](const auto& row) { return row.second == v; })
        ->first;
  };
  NetworkConfig config;
  config.mcc = static_cast<uint16_t>(table.number("mcc", 1, 0, 999));
  config.mnc = static_cast<uint16_t>(table.number("mnc", 1, 0, 999));
  config.mnc_three_digits = table.number("mnc_digits", 2, 2, 3) == 3;
  config.name = table.text("name", "", 255);
  config.rat = table.one_of("rat", "lte", kRats);
  const uint8_t in_use = table.one_of("in_use", "available", kInUse);
  const bool roaming = table.flag("roaming", false);
  const bool forbidden = table.flag("forbidden", false);
  const bool preferred = table.flag("preferred", false);
  config.status = static_cast<uint8_t>(in_use | (roaming ? 2 : 1) << 2 | (forbidden ? 1 : 2) << 4 |
                                       (preferred ? 1 : 2) << 6);
  config.text = std::string(word(kRats, config.rat)) + ", " + word(kInUse, in_use) +
                (roaming ? ", roaming" : "") + (forbidden ? ", forbidden" : "") +
                (preferred ? ", preferred" : "");
  table.done();
  return config;
}

// Whether a restart loses what was not synced.
constexpr std::pair<const char*, bool> kUnsynced[] = {{"survives", false}, {"lost", true}};

FaultRule fault(Table table) {
  static constexpr std::pair<const char*, FaultKind> kKinds[] = {
      {"request", FaultKind::kRequest},
      {"response", FaultKind::kResponse},
      {"indication", FaultKind::kIndication}};
  static constexpr std::pair<const char*, FaultAction> kActions[] = {
      {"drop", FaultAction::kDrop},
      {"delay", FaultAction::kDelay},
      {"qmi-error", FaultAction::kQmiError},
      {"vendor-error", FaultAction::kVendorError},
      {"truncate", FaultAction::kTruncate},
      {"change", FaultAction::kChange},
      {"duplicate", FaultAction::kDuplicate},
      {"wrong-transaction", FaultAction::kWrongTransaction},
      {"after-indication", FaultAction::kAfterIndication},
      {"restart", FaultAction::kRestart}};
  FaultRule rule;
  rule.text = table.written();
  const std::string service = table.text("service", "any", 64);
  if (const auto known = service_named(service)) rule.service = known->id;
  if (!rule.service && service != "any") {
    table.fail("service", "must be one of " + service_names() + ", any");
  }
  if (table.has("message")) {
    rule.message = static_cast<uint16_t>(table.number("message", 0, 0, 0xFFFF));
  }
  rule.kind = table.one_of("kind", "response", kKinds);
  rule.nth = table.number("nth", 0, 0, UINT32_MAX);
  table.need("action");
  rule.action = table.one_of("action", "drop", kActions);
  switch (rule.action) {
    case FaultAction::kDelay:
      table.need("ms");
      rule.delay = std::chrono::milliseconds(table.number("ms", 0, 0, 86400000));
      break;
    case FaultAction::kQmiError:
      table.need("error");
      rule.code = table.number("error", 0, 0, 0xFFFF);
      break;
    case FaultAction::kVendorError:
      table.need("result");
      rule.code = table.number("result", 0, 0, UINT32_MAX);
      break;
    case FaultAction::kTruncate:
      table.need("octets");
      rule.keep = table.number("octets", 0, 0, 65535);
      break;
    case FaultAction::kChange:
      table.need("at");
      table.need("octets");
      rule.at = table.number("at", 0, 0, 65535);
      rule.octets = table.numbers<uint8_t>("octets");
      break;
    default:
      break;
  }
  if (rule.action == FaultAction::kAfterIndication && rule.kind != FaultKind::kResponse) {
    table.fail("action", "after-indication is for responses");
  }
  table.done();
  return rule;
}

// The parser's look-up of white space has no answer for most characters outside ASCII, and runs off
// its end. It gets none: comments lose them, and texts must spell them as escapes. The line of the
// first that stands elsewhere.
std::optional<size_t> line_not_ascii(std::string& text) {
  std::string_view quote;  // the one that the text we are in ends with; "#": a comment
  size_t line = 1;
  for (size_t i = 0; i < text.size(); ++i) {
    const std::string_view rest = std::string_view(text).substr(i);
    if ((rest[0] & 0x80) != 0) {
      if (quote != "#") return line;
      text[i] = '?';
    } else if (rest[0] == '\n') {
      ++line;
      if (quote.size() == 1) quote = {};
    } else if (quote == "#") {
      continue;
    } else if (!quote.empty()) {
      if (quote[0] == '"' && (rest.starts_with("\\\\") || rest.starts_with("\\\""))) {
        ++i;
      } else if (rest.starts_with(quote)) {
        i += quote.size() - 1;
        quote = {};
      }
    } else if (rest[0] == '#') {
      quote = "#";
    } else if (rest[0] == '"' || rest[0] == '\'') {
      const std::string_view three = rest[0] == '"' ? "\"\"\"" : "\'\'\'";
      quote = rest.starts_with(three) ? three : three.substr(0, 1);
      i += quote.size() - 1;
    }
  }
  return std::nullopt;
}

}  // namespace

bool parse_phone_config(std::string_view written, PhoneConfig* config, std::string* why) {
  const auto at = [why](const toml::source_region& where, std::string_view what) {
    *why = "phone.toml:" + std::to_string(where.begin.line) + ": " + std::string(what);
    return false;
  };
  std::string text(written);
  if (const auto line = line_not_ascii(text)) {
    *why = "phone.toml:" + std::to_string(*line) +
           ": characters outside ASCII are written as escapes, like \\u00E9";
    return false;
  }
  try {
    const toml::table root = toml::parse(text);
    Table top(root, "");
    PhoneConfig read;

    Table modem = top.table("modem");
    read.restart = std::chrono::milliseconds(modem.number("restart_ms", 1500, 0, 3600000));
    read.loses_unsynced = modem.one_of("unsynced", "survives", kUnsynced);
    read.absent = absent_services(modem);
    modem.done();
    Table sar = top.table("sar");
    read.sar_valid = sar.flag("valid", true);
    read.sar_state = sar.number("state", 0, 0, UINT32_MAX);
    sar.done();
    Table statistics = top.table("statistics");
    read.statistics_enabled = statistics.flag("enabled", true);
    read.outdated_logs = statistics.numbers<uint16_t>("outdated_logs");
    if (read.outdated_logs.size() > 200) statistics.fail("outdated_logs", "has room for 200");
    read.cmd_ok_count = static_cast<uint64_t>(statistics.integer("cmd_ok_count", 0, 0, INT64_MAX));
    read.cmd_fail_count =
        static_cast<uint64_t>(statistics.integer("cmd_fail_count", 0, 0, INT64_MAX));
    statistics.done();
    read.diag = diag(top.table("diag"));
    read.measurements = read_measurements(top.table("measurements"));
    read.cards = read_cards(top.table("cards"));
    Table pdc = top.table("pdc");
    read.pdc = read_pdc(std::move(pdc), top.tables("configuration"));
    for (Table& table : top.tables("network")) read.networks.push_back(network(std::move(table)));
    if (read.networks.size() > 40)
      top.fail("network", "stands more often than the 40 times that a scan reports");
    for (Table& table : top.tables("fault")) read.faults.push_back(fault(std::move(table)));
    top.done();

    *config = std::move(read);
    return true;
  } catch (const toml::parse_error& error) {
    return at(error.source(), error.description());
  } catch (const BadToml& bad) {
    return at(bad.where, bad.what);
  }
}

bool load_phone_config(const Phone& phone, PhoneConfig* config, std::string* why) {
  std::string toml;
  if (const int error = phone.all().quiet().read("phone.toml", &toml); error != 0) {
    *why = phone.path("phone.toml") + ": " + reason(error);
    return false;
  }
  if (parse_phone_config(toml, config, why)) return true;
  *why = phone.root() + "/" + *why;
  return false;
}

bool read_phone(const Phone& phone, PhoneConfig* config, std::string* why) {
  return phone.prepare(why) && load_phone_config(phone, config, why);
}

}  // namespace sim
