#include "sim/config/config.h"

#include "sim/config/ascii.h"
#include "sim/config/key.h"
#include "sim/config/settings.h"

namespace sim {
namespace {

constexpr Choice kUnsynced[] = {{"survives", false}, {"lost", true}};

constexpr KeyOf<ModemConfig> kAbsent{
    {.name = "absent",
     .type = KeyType::kChoice,
     .comment = "Services that are not there; a restart does not bring them either",
     .list = true,
     .names = service_names,
     .read =
         [](const Table& table, const Key& key, void* modem) {
           for (const std::string& name : table.texts(key.name)) {
             const auto id = service_id(name);
             if (!id) {
               table.fail(key.name, "holds \"" + name + "\", which is none of " + service_list());
             }
             static_cast<ModemConfig*>(modem)->absent.push_back(*id);
           }
         },
     .fallback = [](const Key&) { return std::string("[]"); }}};

// Date and time as a compiler writes them.
constexpr Check kBuildTime{[](std::string_view text) { return text.size() == 20; },
                           "is not \"Mmm dd yyyy hh:mm:ss\""};

constexpr KeyTable kModemKeys({
    number<&ModemConfig::restart>("restart_ms", {0, 3600000, "ms"},
                                  "How long the services stay away when the modem restarts"),
    choice<&ModemConfig::loses_unsynced>(
        "unsynced", kUnsynced,
        "What a restart of the modem does to NV items and EFS files that were written or deleted "
        "since the last NV sync; lost: they are again what they were at the sync"),
    kAbsent,
});
constexpr KeyTable kSarKeys({
    number<&SarConfig::state>("state", "The device state index (DSI); a sound modem's is 0 to 20"),
    flag<&SarConfig::valid>("valid", "false: the modem sends no state"),
});
constexpr KeyTable kStatisticsKeys({
    flag<&StatisticsConfig::enabled>("enabled", "false: the feature is switched off"),
    numbers<&StatisticsConfig::outdated_logs>("outdated_logs", 200,
                                              "The ids of diag logs whose version is too old"),
    number<&StatisticsConfig::cmd_ok_count>("cmd_ok_count", "How many commands succeeded"),
    number<&StatisticsConfig::cmd_fail_count>("cmd_fail_count", "How many commands failed"),
});
constexpr KeyTable kDiagKeys({
    text<&DiagConfig::compiled>("compiled", 20,
                                "When the software was compiled, as a compiler writes it",
                                kBuildTime),
    text<&DiagConfig::released>("released", 20, "When it was released", kBuildTime),
    text<&DiagConfig::version>("version", 8, "Its version"),
    number<&DiagConfig::model>("model", "The model's number"),
    number<&DiagConfig::firmware>("firmware", "The firmware's version"),
    number<&DiagConfig::hardware_major>("hardware_major", "The hardware's version"),
    number<&DiagConfig::hardware_minor>("hardware_minor", "The second part of that"),
});

constexpr TableRow<ModemConfig> kModem{"modem", kModemKeys};
constexpr TableRow<SarConfig> kSar{"sar", kSarKeys};
constexpr TableRow<StatisticsConfig> kStatistics{
    "statistics", kStatisticsKeys,
    "The statistics feature's health, as the modem reports "
    "it."};
constexpr TableRow<DiagConfig> kDiag{"diag", kDiagKeys, "What diag's version command answers."};

}  // namespace

PhoneConfig read_phone_config(const toml::table& root) {
  Table top(root, "");
  PhoneConfig config;
  kModem.read(top, config.modem);
  kSar.read(top, config.sar);
  kStatistics.read(top, config.statistics);
  kDiag.read(top, config.diag);
  config.measurements = read_measurements(top);
  config.cards = read_cards(top);
  config.pdc = read_pdc(top);
  config.networks = read_networks(top);
  config.faults = read_faults(top);
  top.done();
  return config;
}

bool parse_phone_config(std::string_view written, PhoneConfig* config, std::string* why) {
  const auto fail = [why](size_t line, std::string_view what) {
    *why = "phone.toml:" + std::to_string(line) + ": " + std::string(what);
    return false;
  };
  std::string text(written);
  if (const auto line = line_not_ascii(text)) {
    return fail(*line, "characters outside ASCII are written as escapes, like \\u00E9");
  }
  try {
    *config = read_phone_config(toml::parse(text));
    return true;
  } catch (const toml::parse_error& error) {
    return fail(error.source().begin.line, error.description());
  } catch (const BadToml& bad) {
    return fail(bad.where.begin.line, bad.what);
  }
}

std::vector<Section> sections() {
  std::vector<Section> all = {kModem.section(), kSar.section(), kDiag.section(),
                              kStatistics.section()};
  for (auto family :
       {measurement_sections, cards_sections, pdc_sections, network_sections, fault_sections}) {
    for (Section& section : family()) all.push_back(std::move(section));
  }
  return all;
}

}  // namespace sim
