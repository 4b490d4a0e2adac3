// The client library on a bus that delivers any datagrams between a request and its response.
// Input, repeated: one octet for the sender, one for how much of the request's header is copied,
// one for the length, the datagram.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <tuple>

#include "platform/idl/sar.h"
#include "platform/qmi_client.h"
#include "scripted_bus.h"

namespace {

using desk::ScriptedLink;
using fed::kServer;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ScriptedLink* const bus = &fed::scripted_bus();
  bus->services[SAR_SERVICE_ID] = kServer;
  bus->on_request = [&](const ScriptedLink::Sent& request) {
    while (size > 3) {
      const qcci::Address from[] = {kServer, {1, 8}, {2, 7}, ScriptedLink::kControl};
      const size_t repeated = std::min<size_t>(data[1] % 8, data[2]);
      std::vector<uint8_t> octets(data + 3, data + 3 + std::min<size_t>(size - 3, data[2]));
      for (size_t i = 1; i < std::min(repeated, octets.size()); ++i) octets[i] = request.octets[i];
      const size_t used = 3 + octets.size();
      const qcci::EndpointId to =
          data[0] % 5 == 4 ? 1 : request.endpoint;  // 1: that of the look-ups
      bus->say(to, from[data[0] % 4], std::move(octets));
      data += used;
      size -= used;
    }
    // The input may have withdrawn the service: bring it back. This also ends the wait for a
    // response.
    bus->announce(qcci::Control::kDelServer, SAR_SERVICE_ID, kServer);
    bus->announce(qcci::Control::kNewServer, SAR_SERVICE_ID, kServer);
  };
  const auto service = sar_get_service_object_internal_v01(1, 15, 6);
  qmi_client_type client = nullptr;
  if (qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY, nullptr, nullptr, nullptr, 1000,
                               &client) != 0) {
    std::abort();
  }
  sar_rf_get_state_resp resp;
  std::ignore =
      qmi_client_send_msg_sync(client, SAR_RF_GET_STATE, nullptr, 0, &resp, sizeof resp, 1000);
  qmi_client_release(client);
  // What is left belongs to this input.
  for (qcci::Datagram left; bus->take(&left) == qcci::Received::kDatagram;) {
  }
  return 0;
}
