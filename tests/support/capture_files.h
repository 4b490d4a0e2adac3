// Captures that a test makes, in a directory of its own.
#pragma once

#include <string>
#include <string_view>

#include "platform/qmi_idl.h"
#include "support/desk.h"
#include "traffic/file/pcapng.h"

namespace traffic {

inline std::string packet(const Frame& frame) {
  return packet_of(frame, frame.octets, frame.comments);
}

class Files : public testing::Test {
 protected:
  std::string write(const char* name, std::string_view octets) {
    directory_.write(name, octets);
    return directory_.root() + "/" + name;
  }

  desk::PhoneDirectory directory_;
};

inline Frame frame_of(uint32_t service, qmi_idl_message_type type, uint16_t transaction,
                      uint16_t message, std::span<const uint8_t> tlvs) {
  Frame frame;
  frame.time_ns = 1'700'000'000'123'456'789;
  frame.to_client = type != QMI_IDL_REQUEST;
  frame.service = service;
  frame.instance = 1;
  frame.from = frame.to_client ? qcci::Address{1, 7} : qcci::Address{1, 16385};
  frame.to = frame.to_client ? qcci::Address{1, 16385} : qcci::Address{1, 7};
  frame.octets.resize(qcci::kQmiHeader);
  qcci::QmiHeader{static_cast<uint8_t>(type), transaction, message,
                  static_cast<uint16_t>(tlvs.size())}
      .write(frame.octets.data());
  frame.octets.insert(frame.octets.end(), tlvs.begin(), tlvs.end());
  return frame;
}

}  // namespace traffic
