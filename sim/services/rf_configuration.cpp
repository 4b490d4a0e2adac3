#include "sim/services/rf_configuration.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "platform/idl/vendor_payload.h"

namespace sim {
namespace {

constexpr const char kGpioFile[] = "0/nv/item_files/modem/kelvor/rf_ant_port_config";
constexpr const char kTxFile[] = "0/nv/item_files/modem/antenna/ant_tx_config";

[[nodiscard]] int store(const Storage& storage, const char* path, const void* record,
                        size_t octets) {
  return storage.efs.write(path, std::string_view(static_cast<const char*>(record), octets));
}

[[nodiscard]] int store_gpio(const Storage& storage, const kelvor_gpio_req& request,
                             size_t length) {
  kelvor_gpio gpio = request.gpio;
  gpio.count = std::min<uint32_t>(gpio.count, KELVOR_GPIO_MAX);
  const size_t octets = offsetof(kelvor_gpio, values) + gpio.count * sizeof gpio.values[0];
  if (length < offsetof(kelvor_gpio_req, gpio) + octets) return EINVAL;
  return store(storage, kGpioFile, &gpio, octets);
}

[[nodiscard]] int store_tx(const Storage& storage, const kelvor_rf_tx_req& request, size_t length) {
  if (length < offsetof(kelvor_rf_tx_req, unused)) return EINVAL;
  return store(storage, kTxFile, &request.tx, sizeof request.tx);
}

template <class Request>
Request request_in(std::span<const uint8_t> octets) {
  Request request{};
  std::memcpy(&request, octets.data(), std::min(octets.size(), sizeof request));
  return request;
}

}  // namespace

int store_rf_configuration(const Storage& storage, std::span<const uint8_t> octets) {
  switch (request_in<kelvor_common_raw_req>(octets).command) {
    case KELVOR_COMMON_GPIO_SET:
      return store_gpio(storage, request_in<kelvor_gpio_req>(octets), octets.size());
    case KELVOR_COMMON_RF_TX_SET:
      return store_tx(storage, request_in<kelvor_rf_tx_req>(octets), octets.size());
    default:
      return ENOSYS;
  }
}

}  // namespace sim
