// A test with carrier configurations: a phone that has some, and the requests to PDC and to the
// vendor service.
#pragma once

#include <algorithm>
#include <thread>

#include "common/qcril_mem.h"
#include "mbn/pdc_info.h"
#include "support/desk.h"

namespace desk {

using sim::FaultKind;
using Sequence = std::vector<std::string>;

inline constexpr auto kSoftware = PDC_CONFIG_TYPE_SOFTWARE;
inline constexpr auto kPlatform = PDC_CONFIG_TYPE_PLATFORM;

inline constexpr std::string_view kPhone = R"(
activation_ms = 0
deactivation_ms = 0
[[configuration]]
type = "platform"
id = "50"
[[configuration]]
id = "AA00"
default = true
description = "first"
version = 7
[[configuration]]
id = "BB00"
)";

inline pdc_config_pdc_info id_of(std::initializer_list<uint8_t> octets) {
  pdc_config_pdc_info id{};
  id.id_len = static_cast<uint32_t>(octets.size());
  std::copy(octets.begin(), octets.end(), id.id);
  return id;
}

// Software configurations EE000000, EE000001 and so on.
inline std::string many(int count) {
  std::string toml;
  char id[64];
  for (int i = 0; i < count; ++i) {
    std::snprintf(id, sizeof id, "[[configuration]]\nid = \"EE%06X\"\n", i);
    toml += id;
  }
  return toml;
}

// A fault rule on PDC.
inline std::string fault(const char* kind, int message, const char* rest) {
  return "[[fault]]\nservice = \"pdc\"\nkind = \"" + std::string(kind) +
         "\"\nmessage = " + std::to_string(message) + "\n" + rest + "\n";
}
inline std::string lost(int message) {
  return fault("indication", message, "nth = 1\naction = \"drop\"");
}

// Waits for the client's thread, which may be about to free the last indication.
inline bool nothing_leaked() {
  for (int i = 0; i < 1000 && qcril_mem_blocks() != 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return qcril_mem_blocks() == 0;
}

struct PdcDesk : Desk {
  // `frame`: configurations in one indication of a list.
  Modem& start(const std::string& more = "", int frame = 25) {
    directory_.write("pdc/platform", "active 50\n");
    directory_.write("pdc/software/0", "active AA00\n");
    directory_.write("pdc/software/1", "active BB00\n");
    directory_.write("phone.toml",
                     "[pdc]\nframe = " + std::to_string(frame) + std::string(kPhone) + more);
    return start_written_modem();
  }
  // The same, and initialises the PDC client.
  Modem& connect(const std::string& more = "", int frame = 25) {
    Modem& modem = start(more, frame);
    EXPECT_EQ(pdc_init(), 0);
    return modem;
  }
  // The requests so far: name and TLVs of each to PDC, "sync" for any other.
  Sequence asked() {
    Sequence all;
    for (const Message& request : passed(FaultKind::kRequest)) {
      static constexpr std::pair<uint16_t, const char*> kNames[] = {
          {PDC_GET_SELECTED_CONFIG, "get"},
          {PDC_SET_SELECTED_CONFIG, "set"},
          {PDC_ACTIVATE_CONFIG, "activate"},
          {PDC_DEACTIVATE_CONFIG, "deactivate"},
          {PDC_LIST_CONFIGS, "list"}};
      std::string text = "sync";
      for (const auto& [id, name] : kNames) {
        if (request.service == "pdc" && request.id() == id) text = name + (" " + request.tlvs());
      }
      all.push_back(text);
    }
    return all;
  }
  // Returns when a request of the kind waits and its timer runs.
  static void await_waiting(int req_type) {
    const auto waiting = [req_type] {
      const base::Lock lock(pdc::info().mutex);
      return pdc::info().context(req_type).waiting != 0;
    };
    while (!waiting()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
};

}  // namespace desk
