// Numbers that no public source names.
//
// They fit the known sizes of the structures and of the encoded messages. When a real modem refuses
// a message, check these first.
#pragma once

#include <cstdint>

namespace qcci::assumed {

// Vendor service 0xFFE4, every message.
inline constexpr uint8_t kVendorFirst = 0x01;   // request id, result or sub-id
inline constexpr uint8_t kVendorSecond = 0x02;  // data length
inline constexpr uint8_t kVendorBlock = 0x03;   // a mandatory block
inline constexpr uint8_t kVendorData = 0x10;    // optional data, which a flag announces

// NAS 0x45.
inline constexpr uint8_t kNasBindSubscription = 0x01;
inline constexpr uint8_t kNasBindWidth = 1;

// SAR 0x02: what follows the state.
inline constexpr uint8_t kSarExtra1 = 0x11;
inline constexpr uint8_t kSarExtra2 = 0x12;
inline constexpr uint8_t kSarExtra3 = 0x13;

// UIM: the extended card status and what stands beside it, the power-up mode, the EID.
namespace uim {
inline constexpr uint8_t kExtendedWanted = 0x10;
inline constexpr uint8_t kHotSwapStatus = 0x11;
inline constexpr uint8_t kStatusValidity = 0x12;
inline constexpr uint8_t kExtendedStatus = 0x13;
inline constexpr uint8_t kPowerUpMode = 0x11;
inline constexpr uint8_t kPowerUpModeWidth = 1;
inline constexpr uint8_t kEid = 0x10;
}  // namespace uim

// `vs`, every message, and the service's id.
namespace vs {
inline constexpr uint32_t kServiceId = 0xFFE5;
inline constexpr uint8_t kFirst = 0x01;
inline constexpr uint8_t kSecond = 0x02;
inline constexpr uint8_t kThird = 0x03;
inline constexpr uint8_t kFourth = 0x04;
inline constexpr uint8_t kOptional = 0x10;
}  // namespace vs

// The service that carries diag packets to the simulated phone; no real modem has it.
namespace diag {
inline constexpr uint32_t kServiceId = 0xFFE6;
inline constexpr uint8_t kPacket = 0x01;        // of a request
inline constexpr uint8_t kWantsAnswer = 0x02;   // of a request
inline constexpr uint8_t kTag = 0x10;           // of both
inline constexpr uint8_t kAnswerPacket = 0x11;  // of a response
}  // namespace diag

}  // namespace qcci::assumed
