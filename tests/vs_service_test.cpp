// The simulated statistics service as a client meets it: indications on demand.

#include <mutex>
#include <thread>

#include "platform/idl/nas.h"
#include "platform/idl/vs.h"
#include "platform/qmi_client.h"
#include "qcci/services/services.h"
#include "support/desk.h"

namespace {

const auto kVs = vs_get_service_object_internal_v01(1, 2, 6);
const auto kNas = nas_get_service_object_internal_v01(1, 398, 6);

struct Vs : desk::Desk {
  static qmi_client_type open(qmi_idl_service_object_type service = kVs,
                              qmi_client_ind_cb callback = nullptr, void* data = nullptr) {
    qmi_client_type client = nullptr;
    EXPECT_EQ(qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY, callback, data, nullptr, 4,
                                       &client),
              QMI_CLIENT_OK);
    return client;
  }
  static int feature(qmi_client_type client) {
    const vs_feature_status_req request{5, 1, 0, 1};
    vs_plain_resp response;
    const int result = qmi_client_send_msg_sync(client, VS_FEATURE_STATUS, &request, sizeof request,
                                                &response, sizeof response, 3000);
    return result != 0 ? result : static_cast<int>(response.resp.error);
  }
};

// ---- indications on demand

// The messages that one client received.
struct Heard {
  std::mutex mutex;
  std::vector<uint32_t> messages;

  static void callback(qmi_client_type, uint32_t message, const void*, uint32_t, void* data) {
    auto& heard = *static_cast<Heard*>(data);
    const std::lock_guard lock(heard.mutex);
    heard.messages.push_back(message);
  }
  // Once there are so many.
  std::vector<uint32_t> after(size_t n) {
    for (;; std::this_thread::yield()) {
      const std::lock_guard lock(mutex);
      if (messages.size() >= n) return messages;
    }
  }
};

TEST_F(Vs, IndicationsReachThoseThatAskedAndNobodyElse) {
  static Heard asked, quiet, other, gone;
  desk::Modem& modem = start_modem();
  const qmi_client_type first = open(kVs, Heard::callback, &asked);
  const qmi_client_type second = open(kVs, Heard::callback, &quiet);
  const qmi_client_type third = open(kNas, Heard::callback, &other);
  const qmi_client_type fourth = open(kVs, Heard::callback, &gone);
  EXPECT_EQ(feature(first), 0);
  EXPECT_EQ(feature(fourth), 0);
  const nas_bind_subscription_req bind{0};
  nas_plain_resp resp;
  EXPECT_EQ(qmi_client_send_msg_sync(third, NAS_BIND_SUBSCRIPTION, &bind, sizeof bind, &resp,
                                     sizeof resp, 3000),
            0);
  qmi_client_release(fourth);

  const uint32_t vs = qcci::idl::kVsService.id;
  const vs_byte_ind byte{255};
  modem.indicate_all(vs, VS_IND_BYTE, &bind, sizeof bind);  // of another message
  modem.indicate_all(vs, 0x99, &byte, sizeof byte);
  modem.indicate_all(0x99, VS_IND_BYTE, &byte, sizeof byte);
  modem.indicate_all(vs, VS_IND_BYTE, &byte, sizeof byte);
  EXPECT_EQ(asked.after(1), std::vector<uint32_t>{VS_IND_BYTE});
  EXPECT_EQ(passed(sim::FaultKind::kIndication)[0].tlvs(), "01 01 00 FF");

  // Whoever asks later hears what comes later.
  EXPECT_EQ(feature(second), 0);
  modem.indicate_all(vs, VS_IND_BYTE, &byte, sizeof byte);
  EXPECT_EQ(quiet.after(1), std::vector<uint32_t>{VS_IND_BYTE});
  EXPECT_EQ(asked.after(2).size(), 2u);

  // A service that has been away has forgotten them.
  modem.take_down(vs);
  modem.bring_up(vs);
  modem.indicate_all(vs, VS_IND_BYTE, &byte, sizeof byte);
  EXPECT_EQ(passed(sim::FaultKind::kIndication).size(), 1u + 2u);
  EXPECT_TRUE(other.after(0).empty());
  EXPECT_TRUE(gone.after(0).empty());
}

}  // namespace
