// The vendor service 0xFFE4: families of functions behind one generic message.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <span>
#include <string_view>

#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "qcci/services/services.h"
#include "sim/phone/storage.h"
#include "sim/services/card_tray.h"
#include "sim/services/counters.h"
#include "sim/services/nvefs.h"
#include "sim/services/rf_configuration.h"
#include "sim/services/services.h"

namespace sim {
namespace {

// The message's own results, beside 0; the functions have theirs in the payload. The numbers are
// the simulated phone's: no caller distinguishes them.
constexpr uint32_t kNoSuchFamily = 1;
constexpr uint32_t kBadLength = 2;

class VendorService final : public Service {
 public:
  explicit VendorService(ModemContext& modem)
      : Service(modem, qcci::idl::kVendorService),
        storage_(modem.phone(), modem.config().modem.loses_unsynced),
        nvefs_(storage_),
        tray_(modem.phone(), modem.config().cards) {
    on(KELVOR_VENDOR_GENERIC, &VendorService::generic);
  }

 private:
  void forget(Address client) override { nvefs_.client_gone(client); }
  void forget_all() override { nvefs_.forget_all(); }

  void generic(Address client, const kelvor_vendor_msg& request, kelvor_vendor_msg& response) {
    response.data_valid = 1;
    if (request.data_len > sizeof request.data) {
      response.id = kBadLength;
      return;
    }
    switch (request.id) {
      case REQUEST_ID_EFS: {
        kelvor_nvefs_rsp reply;
        response.data_len = static_cast<uint32_t>(nvefs_.handle(client, request.data, &reply));
        std::memcpy(response.data, &reply, sizeof reply);
        break;
      }
      case REQUEST_ID_COMMON:
        common(request, response);
        break;
      default:
        response.id = kNoSuchFamily;
        break;
    }
  }

  // ---- common requests: a row each, but for those of rf_configuration.h and card_tray.h

  // An item's value, or what follows a raw command.
  using Value = std::string_view;

  struct CommonRow {
    uint32_t number;
    bool is_item;  // `number` is an item of the general command, else a command
    // Appends the answer to the payload, at most 500 octets. 0 or an errno number.
    int (VendorService::*run)(Value value, std::string* payload);
  };
  static const CommonRow kCommon[];

  void common(const kelvor_vendor_msg& request, kelvor_vendor_msg& response);
  // Runs a common request. `item`: its octets as a general command's, which it need not be. 0 or an
  // errno number, ENOSYS for a request that the modem does not have.
  [[nodiscard]] int run(const kelvor_common_item_req& item, std::span<const uint8_t> request,
                        std::string* payload);

  int stats_debug_info(Value /*value*/, std::string* payload) {
    *payload = statistics_counters(modem_.config());
    return 0;
  }

  int stats_log_list(Value /*value*/, std::string* payload) {
    const std::vector<uint16_t>& logs = modem_.config().statistics.outdated_logs;
    const auto count = static_cast<uint16_t>(logs.size());
    payload->append(reinterpret_cast<const char*>(&count), sizeof count);
    payload->append(reinterpret_cast<const char*>(logs.data()), logs.size() * sizeof logs[0]);
    return 0;
  }

  int ssr(Value /*value*/, std::string* /*payload*/) {
    modem_.schedule_restart();
    return 0;
  }

  int nv_sync(Value /*value*/, std::string* /*payload*/) { return storage_.sync(); }

  int full_dump(Value /*value*/, std::string* /*payload*/) {
    std::string dump = "modem memory dump\n";
    const auto add = [&dump](const char* what, const Folder& folder) {
      folder.list([&](const std::string& path, size_t octets) {
        dump += std::string(what) + " " + path + " " + std::to_string(octets) + "\n";
      });
    };
    add("nv", modem_.phone().nv());
    add("efs", modem_.phone().efs());
    const int error = modem_.phone().all().write(new_dump(), dump);
    modem_.schedule_restart();
    return error;
  }

  // A name made of the time that no dump has yet.
  std::string new_dump() const {
    char stamp[64];
    const time_t now = ::time(nullptr);
    tm utc{};
    ::gmtime_r(&now, &utc);
    ::strftime(stamp, sizeof stamp, "dump/%Y%m%dT%H%M%SZ", &utc);
    std::string name = std::string(stamp) + ".txt";
    std::string there;
    for (int n = 2; modem_.phone().all().read(name, &there) == 0; ++n) {
      name = std::string(stamp) + "-" + std::to_string(n) + ".txt";
    }
    return name;
  }

  const Storage storage_;
  NvEfs nvefs_;
  const CardTray tray_;
};

const VendorService::CommonRow VendorService::kCommon[] = {
    {.number = KELVOR_COMMON_STATS_DEBUG_INFO,
     .is_item = false,
     .run = &VendorService::stats_debug_info},
    {.number = KELVOR_COMMON_STATS_LOG_LIST,
     .is_item = false,
     .run = &VendorService::stats_log_list},
    {.number = KELVOR_COMMON_ITEM_SSR, .is_item = true, .run = &VendorService::ssr},
    {.number = KELVOR_COMMON_ITEM_NV_SYNC, .is_item = true, .run = &VendorService::nv_sync},
    {.number = KELVOR_COMMON_ITEM_FULL_DUMP, .is_item = true, .run = &VendorService::full_dump},
};

int VendorService::run(const kelvor_common_item_req& item, std::span<const uint8_t> request,
                       std::string* payload) {
  const bool is_item = item.command == KELVOR_COMMON_ITEM;
  const bool fits = !is_item || item.l <= sizeof item.v;
  const std::span raw =
      request.subspan(std::min(request.size(), offsetof(kelvor_common_raw_req, payload)));
  const std::span value = is_item && fits ? std::span<const uint8_t>(item.v, item.l) : raw;
  for (const CommonRow& row : kCommon) {
    if (row.is_item != is_item || row.number != (is_item ? item.t : item.command)) continue;
    if (!fits) return EINVAL;
    return (this->*row.run)({reinterpret_cast<const char*>(value.data()), value.size()}, payload);
  }
  if (!is_item) return store_rf_configuration(storage_, request);
  const int error = tray_.handle(item, payload);
  if (error == 0 && item.t == KELVOR_COMMON_ITEM_CARD_SET) {
    kelvor_card_set card;
    std::memcpy(&card, item.v, sizeof card);
    modem_.changed(card_line(card.sub, card.level != 0), {card_change(card.sub, card.level != 0)});
  }
  return error;
}

void VendorService::common(const kelvor_vendor_msg& request, kelvor_vendor_msg& response) {
  kelvor_common_item_req item;
  std::memcpy(&item, request.data, sizeof item);
  std::string payload;
  kelvor_common_rsp reply{};
  reply.command = item.command;
  reply.result = -run(item, {request.data, request.data_len}, &payload);
  std::memcpy(reply.payload, payload.data(), payload.size());
  std::memcpy(response.data, &reply, sizeof reply);
  response.data_len = static_cast<uint32_t>(offsetof(kelvor_common_rsp, payload) + payload.size());
}

}  // namespace

std::unique_ptr<Service> make_vendor_service(ModemContext& modem) {
  return std::make_unique<VendorService>(modem);
}

}  // namespace sim
