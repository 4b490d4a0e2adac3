#include "sim/control/control.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "qcci/services/services.h"
#include "sim/config/key.h"
#include "sim/control/indication.h"
#include "sim/phone/storage.h"
#include "sim/services/card_tray.h"

namespace sim {
namespace {

using Json = nlohmann::json;

std::string line_of(const Json& json) {
  // Octets of a peer that are no UTF-8 come back replaced.
  return json.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n";
}

// The member of that type; false, and why, when it is not there.
template <class T>
bool take(const Json& request, const char* name, T* value, std::string* why) {
  const auto found = request.find(name);
  bool fits = found != request.end();
  if constexpr (std::is_same_v<T, std::string>) {
    fits = fits && found->is_string();
  } else if constexpr (std::is_same_v<T, bool>) {
    fits = fits && found->is_boolean();
  } else {
    fits = fits && found->is_number_unsigned() && found->template get<uint64_t>() <= UINT32_MAX;
  }
  if (!fits) {
    *why = std::string("\"") + name + "\" is missing, or of another type";
    return false;
  }
  *value = found->template get<T>();
  return true;
}

// The members of an object of texts.
template <class Each>
bool take_texts(const Json& request, const char* name, std::string* why, Each each) {
  const auto found = request.find(name);
  if (found == request.end() || !found->is_object()) {
    *why = std::string("\"") + name + "\" is missing, or not an object";
    return false;
  }
  for (const auto& [key, value] : found->items()) {
    if (!value.is_string()) {
      *why = key + ": not a text";
      return false;
    }
    each(key, value.template get<std::string>());
  }
  return true;
}

const qcci::idl::MessageRow* message_of(const qmi_idl_service_object& service,
                                        const std::string& name) {
  const bool hex = name.starts_with("0x");
  const char* const end = name.data() + name.size();
  uint32_t id = 0;
  const auto read = std::from_chars(name.data() + (hex ? 2 : 0), end, id, hex ? 16 : 10);
  const bool number = read.ec == std::errc() && read.ptr == end;
  for (const qcci::idl::MessageRow& row : service.rows) {
    if (row.indication && (number ? row.id == id : row.name == name)) return &row;
  }
  return nullptr;
}

}  // namespace

const Control::Row Control::kVerbs[] = {
    {"get", &Control::get},
    {"set", &Control::set},
    {"act", &Control::act},
    {"watch", &Control::watch},
};

const Control::Row Control::kActions[] = {
    {"card", &Control::card},
    {"service", &Control::service},
    {"restart", &Control::restart},
    {"add-fault", &Control::add_fault},
    {"list-faults", &Control::list_faults},
    {"clear-faults", &Control::clear_faults},
    {"indicate", &Control::indicate},
};

Control::Control(Phone phone, Modem& modem, Settings settings)
    : phone_(std::move(phone)), modem_(modem), settings_(std::move(settings)) {}

bool Control::concerns(std::string_view wanted, std::string_view key) {
  if (wanted.empty()) return true;
  if (!key.starts_with(wanted)) return false;
  return key.size() == wanted.size() || key[wanted.size()] == '.' || key[wanted.size()] == '[';
}

std::string Control::event_line(const Change& change) {
  return line_of({{"version", kControlVersion}, {"changed", change.key}, {"value", change.value}});
}

std::string Control::error_line(const std::string& why) {
  return line_of({{"version", kControlVersion}, {"error", why}});
}

ControlAnswer Control::answer(std::string_view line) {
  const Json request = Json::parse(line, nullptr, false);
  if (!request.is_object()) return {error_line("not a JSON object on one line"), std::nullopt};
  Json answer{{"version", kControlVersion}};
  // What tells a peer which of its requests this is about.
  const auto id = request.find("id");
  if (id != request.end() && (id->is_number() || id->is_string())) answer["id"] = *id;
  std::string why;
  uint32_t version = 0;
  bool done = take(request, "version", &version, &why);
  if (done && version != kControlVersion) {
    why = "this phone knows version " + std::to_string(kControlVersion) + " of the requests";
    done = false;
  }
  watched_.reset();
  if (!done || !run(kVerbs, "do", request, &answer, &why)) answer["error"] = why;
  return {line_of(answer), std::exchange(watched_, std::nullopt)};
}

bool Control::run(std::span<const Row> rows, const char* field, const Json& request, Json* answer,
                  std::string* why) {
  std::string name;
  if (!take(request, field, &name, why)) return false;
  for (const Row& row : rows) {
    if (name == row.name) return (this->*row.run)(request, answer, why);
  }
  *why = std::string(field) + ": there is no \"" + name + "\"";
  return false;
}

bool Control::get(const Json& request, Json* answer, std::string* why) {
  std::string wanted;
  if (request.contains("key") && !take(request, "key", &wanted, why)) return false;
  std::map<std::string, std::string> all = settings_.all();
  const CardTray tray(phone_, settings_.config().cards);
  for (uint32_t sub = 0; sub < kSlots; ++sub) {
    const Change card = card_change(sub, tray.present(sub));
    all[card.key] = card.value;
  }
  for (const auto service : qcci::idl::all_services()) {
    all[std::string("state.service.") + service->name] =
        modem_.is_up(service->id) ? "\"up\"" : "\"down\"";
  }
  Json values = Json::object();
  for (const auto& [key, value] : all) {
    if (concerns(wanted, key)) values[key] = value;
  }
  if (values.empty()) {
    *why = wanted + ": the phone has no such key";
    return false;
  }
  (*answer)["values"] = std::move(values);
  return true;
}

bool Control::keep(std::span<const Setting> settings, std::string* why) const {
  const FileLock lock = phone_.lock();
  std::string text;
  int error = lock.held() ? phone_.all().quiet().read("phone.toml", &text) : ENOLCK;
  if (error == 0 && !write_settings(settings, &text, why)) return false;
  if (error == 0) error = phone_.all().quiet().write("phone.toml", text);
  if (error != 0) *why = phone_.path("phone.toml") + ": " + reason(error);
  return error == 0;
}

bool Control::set(const Json& request, Json* answer, std::string* why) {
  std::vector<Setting> settings;
  if (!take_texts(request, "values", why, [&](const std::string& key, std::string value) {
        settings.push_back({key, std::move(value)});
      })) {
    return false;
  }
  bool kept = false;
  if (request.contains("keep") && !take(request, "keep", &kept, why)) return false;
  Settings next;
  if (!settings_.with(settings, &next, why) || (kept && !keep(settings, why))) return false;
  settings_ = std::move(next);
  std::vector<Change> changes;
  std::string line = kept ? "set and kept:" : "set:";
  Json values = Json::object();
  for (const Setting& one : settings) {
    changes.push_back({one.key, one.value});
    line.append(values.empty() ? " " : ", ").append(one.key).append(" = ").append(one.value);
    values[one.key] = one.value;
  }
  modem_.configure(settings_.config(), line, changes);
  (*answer)["values"] = std::move(values);
  return true;
}

bool Control::act(const Json& request, Json* answer, std::string* why) {
  return run(kActions, "action", request, answer, why);
}

bool Control::watch(const Json& request, Json* /*answer*/, std::string* why) {
  std::vector<std::string> keys;
  const auto wanted = request.find("keys");
  if (wanted != request.end()) {
    const bool texts = wanted->is_array() && std::ranges::all_of(*wanted, [](const Json& key) {
                         return key.is_string();
                       });
    if (!texts) {
      *why = "\"keys\" is not a list of texts";
      return false;
    }
    keys = wanted->get<std::vector<std::string>>();
  }
  if (keys.empty()) keys.emplace_back();
  watched_ = std::move(keys);
  return true;
}

bool Control::card(const Json& request, Json* /*answer*/, std::string* why) {
  uint32_t slot = 0;
  bool in = false;
  if (!take(request, "slot", &slot, why) || !take(request, "in", &in, why)) return false;
  if (slot < 1 || slot > kSlots) {
    *why = "the phone has slots 1 to " + std::to_string(kSlots);
    return false;
  }
  const CardTray tray(phone_, settings_.config().cards);
  const int error = modem_.change([&] { return tray.put(slot - 1, in); }, card_line(slot - 1, in),
                                  {card_change(slot - 1, in)});
  if (error != 0) *why = phone_.path(CardTray::kFile) + ": " + reason(error);
  return error == 0;
}

bool Control::service(const Json& request, Json* /*answer*/, std::string* why) {
  std::string name;
  bool up = false;
  if (!take(request, "service", &name, why) || !take(request, "up", &up, why)) return false;
  const auto id = service_id(name);
  if (!id) {
    *why = name + ": none of " + service_list();
    return false;
  }
  up ? modem_.bring_up(*id) : modem_.take_down(*id);
  return true;
}

bool Control::restart(const Json& /*request*/, Json* /*answer*/, std::string* /*why*/) {
  modem_.restart();
  return true;
}

bool Control::add_fault(const Json& request, Json* /*answer*/, std::string* why) {
  std::string rule;
  Settings next;
  if (!take(request, "rule", &rule, why)) return false;
  if (settings_.config().faults.size() >= kFaultsMax) {
    *why = "there are " + std::to_string(kFaultsMax) + " fault rules already";
    return false;
  }
  if (!settings_.with_fault(rule, &next, why)) return false;
  settings_ = std::move(next);
  const std::string& text = settings_.config().faults.back().text;
  modem_.configure(settings_.config(), "fault added: " + text, {{"fault", rule}});
  return true;
}

bool Control::list_faults(const Json& /*request*/, Json* answer, std::string* /*why*/) {
  (*answer)["faults"] = modem_.fault_counts();
  return true;
}

bool Control::clear_faults(const Json& /*request*/, Json* /*answer*/, std::string* why) {
  Settings next;
  if (!settings_.without_faults(&next, why)) return false;
  settings_ = std::move(next);
  modem_.configure(settings_.config(), "faults cleared", {{"fault", "[]"}});
  return true;
}

bool Control::indicate(const Json& request, Json* answer, std::string* why) {
  std::string name;
  std::string message;
  std::vector<FieldText> fields;
  if (!take(request, "service", &name, why) || !take(request, "message", &message, why) ||
      !take_texts(request, "fields", why, [&](const std::string& field, std::string value) {
        fields.push_back({field, std::move(value)});
      })) {
    return false;
  }
  const auto services = qcci::idl::all_services();
  const auto service =
      std::ranges::find_if(services, [&](const auto one) { return one->name == name; });
  const qcci::idl::MessageRow* const row =
      service == services.end() ? nullptr : message_of(**service, message);
  if (row == nullptr) {
    *why = name + " " + message + ": there is no such indication";
    return false;
  }
  std::vector<uint8_t> c;
  if (!fill(*row->indication, fields, &c, why)) return false;
  (*answer)["clients"] = modem_.indicate_all((*service)->id, row->id, c.data(), c.size());
  return true;
}

}  // namespace sim
