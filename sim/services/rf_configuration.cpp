#include "sim/services/rf_configuration.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

#include "platform/idl/vendor_payload.h"

namespace sim {
namespace {

constexpr const char kGpioFile[] = "0/nv/item_files/modem/kelvor/rf_ant_port_config";
constexpr const char kTxFile[] = "0/nv/item_files/modem/antenna/ant_tx_config";

int32_t keep(const Storage& storage, const char* path, const void* record, size_t octets) {
  return -storage.efs.write(path, std::string_view(static_cast<const char*>(record), octets));
}

int32_t keep_gpio(const Storage& storage, const kelvor_gpio_req& request, size_t length) {
  kelvor_gpio gpio = request.gpio;
  gpio.count = std::min<uint32_t>(gpio.count, KELVOR_GPIO_MAX);
  const size_t octets = offsetof(kelvor_gpio, values) + gpio.count * sizeof gpio.values[0];
  if (length < offsetof(kelvor_gpio_req, gpio) + octets) return -EINVAL;
  return keep(storage, kGpioFile, &gpio, octets);
}

int32_t keep_tx(const Storage& storage, const kelvor_rf_tx_req& request, size_t length) {
  if (length < offsetof(kelvor_rf_tx_req, unused)) return -EINVAL;
  return keep(storage, kTxFile, &request.tx, sizeof request.tx);
}

template <class Request>
Request request_in(std::span<const uint8_t> octets) {
  Request request{};
  std::memcpy(&request, octets.data(), std::min(octets.size(), sizeof request));
  return request;
}

}  // namespace

std::optional<int32_t> keep_rf_configuration(const Storage& storage,
                                             std::span<const uint8_t> octets) {
  switch (request_in<kelvor_common_raw_req>(octets).command) {
    case KELVOR_COMMON_GPIO_SET:
      return keep_gpio(storage, request_in<kelvor_gpio_req>(octets), octets.size());
    case KELVOR_COMMON_RF_TX_SET:
      return keep_tx(storage, request_in<kelvor_rf_tx_req>(octets), octets.size());
    default:
      return std::nullopt;
  }
}

}  // namespace sim
