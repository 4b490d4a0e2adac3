#include "show.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

#include "platform/idl/pdc.h"
#include "qcci/link/local_socket.h"
#include "qcci/services/services.h"
#include "qcci/wire/octets.h"
#include "sim/phone/phone_config.h"
#include "sim/phone/selection.h"
#include "sim/services/card_tray.h"
#include "sim/services/euicc.h"
#include "sim/serving/server.h"

namespace sim {
namespace {

// The octets that a file begins with, and how many it has when there are more.
std::string beginning(std::string_view contents) {
  constexpr size_t kShown = 24;  // enough to recognise a file by, on one line
  std::string text = qcci::to_hex(qcci::as_octets(contents.substr(0, kShown)), " ");
  if (contents.size() > kShown) text += " ... " + std::to_string(contents.size()) + " octets";
  return text;
}

bool show_file(const Folder& folder, const std::string& path, std::string* why) {
  constexpr size_t kALine = 16;
  std::string contents;
  if (const int error = folder.quiet().read(path, &contents); error != 0) {
    *why = path + ": " + reason(error);
    return false;
  }
  for (size_t at = 0; at < contents.size(); at += kALine) {
    const std::string_view line = std::string_view(contents).substr(at, kALine);
    std::printf("%06zx  %s\n", at, qcci::to_hex(qcci::as_octets(line), " ").c_str());
  }
  return true;
}

void show_files(const char* title, const Folder& folder) {
  std::printf("%s\n", title);
  folder.list([&](const std::string& path, size_t) {
    std::string contents;
    (void)folder.read(path, &contents);  // a failure has been reported; empty
    std::printf("  %-40s %s\n", path.c_str(), beginning(contents).c_str());
  });
}

// What a modem that starts now finds in its slots.
void show_cards(const Phone& phone, const CardsConfig& cards) {
  const bool esim = esim_enabled(phone);
  const CardTray tray(phone, cards);
  for (size_t i = 0; i < kSlots; ++i) {
    std::printf("card       sim%zu %s%s%s\n", i + 1, card_state_name(cards.sims[i].state),
                tray.present(static_cast<uint32_t>(i)) ? "" : ", not in the tray",
                i == kEsimSlot && esim ? ", not connected" : "");
  }
  std::printf("card       euicc eid \"%s\"%s\n", qcci::to_hex(cards.eid, " ").c_str(),
              esim ? "" : ", not connected");
  const auto left = Euicc(phone, cards).profiles();
  for (const ProfileConfig& profile : cards.profiles) {
    const bool there = std::ranges::find(left, profile.iccid, &ProfileConfig::iccid) != left.end();
    std::printf("profile    %s %s %s \"%s\"\n", profile.iccid.c_str(),
                profile_class_name(profile.profile_class),
                !there            ? "deleted"
                : profile.enabled ? "enabled"
                                  : "disabled",
                profile.name.c_str());
  }
}

void show_selection(const Phone& phone, const PdcConfig& pdc, const char* name, uint32_t type,
                    uint32_t sub) {
  const auto text = [&](const ConfigId& id) {
    if (id.empty()) return std::string("none");
    const CarrierConfig* config = pdc.find(type, id);
    return qcci::to_hex(id) +
           (config != nullptr ? " \"" + config->description + "\"" : " (not on this phone)");
  };
  Selection selection;
  // A file that cannot be read is shown as an empty selection, and its folder reports it.
  std::ignore = read_selection(phone, selection_path(type, sub), &selection);
  std::printf("selection  %-8s active %s, pending %s\n", name, text(selection.active).c_str(),
              text(selection.pending).c_str());
}

}  // namespace

bool show(const Phone& phone, std::string* why) {
  PhoneConfig config;
  if (!phone.is_there(why) || !load_phone_config(phone, &config, why)) return false;

  std::printf("phone      %s\n", phone.root().c_str());
  qcci::LocalSocketLink link(Server::socket_path(phone));
  std::printf("modem      %s\n", link.answers() ? "served at modem.sock" : "embedded in each vex");
  std::printf("restart    %lld ms, what was not synced %s\n",
              static_cast<long long>(config.modem.restart.count()),
              config.modem.loses_unsynced ? "is lost" : "survives");
  for (const auto service : qcci::idl::all_services()) {
    if (std::ranges::count(config.modem.absent, service->id) != 0) {
      std::printf("absent     %s\n", service->name);
    }
  }
  std::printf("sar        state %u%s\n", config.sar.state, config.sar.valid ? "" : " (not sent)");
  std::printf("statistics %s, %zu outdated logs\n",
              config.statistics.enabled ? "enabled" : "disabled",
              config.statistics.outdated_logs.size());
  for (size_t sub = 0; sub < config.measurements.size(); ++sub) {
    for (const auto& [id, octets] : config.measurements[sub]) {
      std::printf("record     sub%zu %-10s 0x%02X %s\n", sub, record_name(id), id,
                  qcci::to_hex(octets, " ").c_str());
    }
  }
  show_cards(phone, config.cards);
  for (const CarrierConfig& one : config.pdc.configurations) {
    std::printf("config     %-8s %s version 0x%08x, %u octets%s \"%s\"\n",
                config_type_name(one.type), qcci::to_hex(one.id).c_str(), one.version, one.size,
                one.is_default ? ", default" : "", one.description.c_str());
  }
  show_selection(phone, config.pdc, "platform", PDC_CONFIG_TYPE_PLATFORM, 0);
  show_selection(phone, config.pdc, "sub0", PDC_CONFIG_TYPE_SOFTWARE, 0);
  show_selection(phone, config.pdc, "sub1", PDC_CONFIG_TYPE_SOFTWARE, 1);
  for (const NetworkConfig& network : config.networks) {
    std::printf("network    %03u-%0*u %s \"%s\"\n", network.mcc, network.mnc_digits, network.mnc,
                network.text().c_str(), network.name.c_str());
  }
  for (const FaultRule& rule : config.faults) {
    std::printf("fault      %s\n", rule.text.c_str());
  }
  show_files("nv items (sub/id)", phone.nv());
  show_files("efs files (sub/path)", phone.efs());
  show_files("files in /data/vendor", phone.folder("data/vendor"));
  std::string properties;
  (void)phone.all().read("properties", &properties);  // as above
  std::printf("properties\n%s", properties.c_str());
  return true;
}

bool show_nv(const Phone& phone, uint32_t id, uint32_t sub, std::string* why) {
  return phone.is_there(why) &&
         show_file(phone.nv(), std::to_string(sub) + "/" + std::to_string(id), why);
}

bool show_efs(const Phone& phone, const std::string& path, uint32_t sub, std::string* why) {
  const size_t begin = std::min(path.find_first_not_of('/'), path.size());
  return phone.is_there(why) &&
         show_file(phone.efs(), std::to_string(sub) + "/" + path.substr(begin), why);
}

}  // namespace sim
