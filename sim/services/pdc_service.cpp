// PDC: selects, activates and deactivates the carrier configurations of phone.toml.
//
// Most requests are answered at once and their outcome follows in an indication; activation and
// deactivation take the time that phone.toml says.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <optional>

#include "platform/clock/process_clock.h"
#include "platform/idl/pdc.h"
#include "qcci/services/services.h"
#include "qcci/wire/octets.h"
#include "sim/phone/selection.h"
#include "sim/services/services.h"

namespace sim {
namespace {

constexpr uint32_t kTypes = 2;  // platform and software
constexpr uint32_t kSubscriptions = 2;

// A list request within this time after the last one continues the list, a later one begins a new
// list: a request does not say which it is. Less than the 5 s after which clients give up.
constexpr std::chrono::milliseconds kListPause{4500};

class PdcService final : public Service {
 public:
  explicit PdcService(ModemContext& modem) : Service(modem, qcci::idl::kPdcService) {
    on(PDC_REGISTER, &PdcService::register_reports);
    on(PDC_GET_SELECTED_CONFIG, &PdcService::get_selected);
    on(PDC_SET_SELECTED_CONFIG, &PdcService::set_selected);
    on(PDC_LIST_CONFIGS, &PdcService::list);
    on(PDC_ACTIVATE_CONFIG, &PdcService::activate);
    on(PDC_DEACTIVATE_CONFIG, &PdcService::deactivate);
    on(PDC_GET_CONFIG_INFO, &PdcService::info);
    on(PDC_GET_DEFAULT_CONFIG_INFO, &PdcService::default_info);
  }

 private:
  // A client's list in progress.
  struct Listing {
    uint32_t type_or_all;
    size_t next;        // configuration to list
    platform::Time at;  // of the last request
  };

  void forget(Address client) override { listings_.erase(client); }
  void forget_all() override {
    listings_.clear();
    busy_slots_.clear();
    ++generation_;
  }

  const PdcConfig& pdc() const { return modem_.config().pdc; }

  // The file of the selection that a request is about. None, with the error in the response, when
  // there is no such selection.
  template <class Request>
  std::optional<std::string> slot_of(uint32_t type, const Request& request,
                                     pdc_plain_resp& response) {
    const uint32_t sub = request.subscription_valid != 0 ? request.subscription : 0;
    if (type < kTypes && sub < kSubscriptions) return selection_path(type, sub);
    refuse(response, QMI_ERROR_INVALID_ARGUMENT);
    return std::nullopt;
  }

  template <class Indication, class Request>
  static Indication outcome(const Request& request, qmi_error error) {
    Indication ind{};
    ind.error = error;
    ind.token_valid = request.token_valid;
    ind.token = request.token;
    return ind;
  }

  // The phone reports no changes of its own, so a registration changes nothing.
  void register_reports(Address, const pdc_register_req&, pdc_plain_resp&) {}

  void get_selected(Address client, const pdc_get_selected_config_req& request,
                    pdc_plain_resp& response) {
    const auto slot = slot_of(request.type, request, response);
    if (!slot) return;
    Selection selection;
    const qmi_error failed = file_error(*slot, read_selection(modem_.phone(), *slot, &selection));
    const bool none = selection.active.empty() && selection.pending.empty();
    const qmi_error error = failed == QMI_ERROR_NONE && none ? QMI_ERROR_NOT_PROVISIONED : failed;
    auto ind = outcome<pdc_get_selected_config_ind>(request, error);
    put(selection.active, ind.active, ind.active_valid, ind.active_len);
    put(selection.pending, ind.pending, ind.pending_valid, ind.pending_len);
    indicate(client, PDC_GET_SELECTED_CONFIG, ind);
  }

  void set_selected(Address client, const pdc_set_selected_config_req& request,
                    pdc_plain_resp& response) {
    const auto slot = slot_of(request.config.type, request, response);
    if (!slot) return;
    const ConfigId id(request.config.id, request.config.id + request.config.id_len);
    qmi_error error = QMI_ERROR_NO_ENTRY;
    if (pdc().find(request.config.type, id) != nullptr) {
      error = change_selection(*slot, [&](Selection& selection) {
        selection.pending = id;
        return QMI_ERROR_NONE;
      });
    }
    indicate(client, PDC_SET_SELECTED_CONFIG, outcome<pdc_result_ind>(request, error));
  }

  // Makes the pending configuration active; without one, applies the active one once more.
  void activate(Address client, const pdc_activate_config_req& request, pdc_plain_resp& response) {
    const auto slot = slot_of(request.type, request, response);
    if (!slot) return;
    const auto change = [this, slot = *slot, type = request.type](Selection& selection) {
      const ConfigId& wanted = selection.pending.empty() ? selection.active : selection.pending;
      if (wanted.empty()) return QMI_ERROR_NOT_PROVISIONED;
      if (pdc().find(type, wanted) == nullptr) return QMI_ERROR_NO_ENTRY;
      modem_.log("pdc: " + slot + " activates " + qcci::to_hex(wanted));
      selection = {wanted, {}};
      return QMI_ERROR_NONE;
    };
    apply_later(client, PDC_ACTIVATE_CONFIG, *slot, request, response, pdc().activation, change);
  }

  void deactivate(Address client, const pdc_deactivate_config_req& request,
                  pdc_plain_resp& response) {
    const auto slot = slot_of(request.type, request, response);
    if (!slot) return;
    const auto change = [this, slot = *slot](Selection& selection) {
      if (selection.active.empty()) return QMI_ERROR_NO_EFFECT;
      modem_.log("pdc: " + slot + " deactivates " + qcci::to_hex(selection.active));
      selection.active.clear();
      return QMI_ERROR_NONE;
    };
    apply_later(client, PDC_DEACTIVATE_CONFIG, *slot, request, response, pdc().deactivation,
                change);
  }

  // Changes a selection after a time and indicates the outcome. A slot has one such change at a
  // time; a modem that restarts meanwhile drops it.
  template <class Request, class Change>
  void apply_later(Address client, uint16_t message, const std::string& slot,
                   const Request& request, pdc_plain_resp& response, std::chrono::milliseconds time,
                   Change change) {
    if (!busy_slots_.insert(slot).second) {
      return refuse(response, QMI_ERROR_INCOMPATIBLE_STATE);
    }
    modem_.after(time, [this, generation = generation_, client, message, slot, request, change] {
      if (generation != generation_) return;
      busy_slots_.erase(slot);
      const qmi_error error = change_selection(slot, change);
      indicate(client, message, outcome<pdc_result_ind>(request, error));
    });
  }

  void list(Address client, const pdc_list_configs_req& request, pdc_plain_resp&) {
    static constexpr uint32_t kAll = UINT32_MAX;
    const uint32_t wanted = request.type_valid != 0 ? request.type : kAll;
    const platform::Time now = platform::clock().now();
    Listing& listing = listings_[client];
    if (listing.type_or_all != wanted || now - listing.at > kListPause) listing = {wanted, 0, now};
    listing.at = now;

    auto ind = outcome<pdc_list_configs_ind>(request, QMI_ERROR_NONE);
    ind.configs_valid = ind.more_available_valid = 1;
    const auto& all = pdc().configurations;
    for (; listing.next < all.size(); ++listing.next) {
      const CarrierConfig& config = all[listing.next];
      if (wanted != kAll && wanted != config.type) continue;
      if (ind.configs_len == pdc().frame) {
        ind.more_available = 1;
        break;
      }
      pdc_config& to = ind.configs[ind.configs_len++];
      to.type = config.type;
      to.id_len = static_cast<uint32_t>(config.id.size());
      std::ranges::copy(config.id, to.id);
    }
    if (ind.more_available == 0) listings_.erase(client);
    // For an empty list there is no indication.
    if (ind.configs_len > 0) indicate(client, PDC_LIST_CONFIGS, ind);
  }

  void info(Address client, const pdc_get_config_info_req& request, pdc_plain_resp&) {
    const ConfigId id(request.config.id, request.config.id + request.config.id_len);
    const CarrierConfig* config = pdc().find(request.config.type, id);
    auto ind = outcome<pdc_get_config_info_ind>(
        request, config != nullptr ? QMI_ERROR_NONE : QMI_ERROR_NO_ENTRY);
    if (config != nullptr) describe(*config, ind);
    indicate(client, PDC_GET_CONFIG_INFO, ind);
  }

  void default_info(Address client, const pdc_get_default_config_info_req& request,
                    pdc_plain_resp&) {
    const auto& all = pdc().configurations;
    const auto found = std::ranges::find_if(all, [&](const CarrierConfig& config) {
      return config.type == request.type && config.is_default;
    });
    auto ind = outcome<pdc_get_default_config_info_ind>(
        request, found != all.end() ? QMI_ERROR_NONE : QMI_ERROR_NO_ENTRY);
    if (found != all.end()) describe(*found, ind);
    indicate(client, PDC_GET_DEFAULT_CONFIG_INFO, ind);
  }

  template <class Indication>
  static void describe(const CarrierConfig& config, Indication& ind) {
    ind.size_valid = ind.description_valid = ind.version_valid = 1;
    ind.size = config.size;
    ind.version = config.version;
    ind.description_len = static_cast<uint32_t>(config.description.size());
    std::ranges::copy(config.description, ind.description);
  }

  static void put(const ConfigId& id, uint8_t* to, uint8_t& valid, uint32_t& length) {
    valid = !id.empty();
    length = static_cast<uint32_t>(id.size());
    std::ranges::copy(id, to);
  }

  // Reads, changes and writes a selection with the phone locked. `change` returns the QMI error
  // with which nothing is written. A selection that cannot be read is not overwritten.
  template <class Change>
  [[nodiscard]] qmi_error change_selection(const std::string& slot, Change change) {
    const FileLock only_one = modem_.phone().lock();
    Selection selection;
    const int unread = only_one.held() ? read_selection(modem_.phone(), slot, &selection) : ENOLCK;
    if (unread != 0) return file_error(slot, unread);
    const qmi_error error = change(selection);
    return error != QMI_ERROR_NONE
               ? error
               : file_error(slot, write_selection(modem_.phone(), slot, selection));
  }

  // The QMI error for the errno number of a selection's file; logs a failure.
  [[nodiscard]] qmi_error file_error(const std::string& slot, int error) {
    if (error == 0) return QMI_ERROR_NONE;
    modem_.log("pdc: " + slot + ": " + std::strerror(error));
    return QMI_ERROR_INTERNAL;
  }

  std::map<Address, Listing> listings_;
  std::set<std::string> busy_slots_;  // that have a change to come
  uint32_t generation_ = 0;           // counts restarts of the modem
};

}  // namespace

std::unique_ptr<Service> make_pdc_service(ModemContext& modem) {
  return std::make_unique<PdcService>(modem);
}

}  // namespace sim
