// Status words of ISO/IEC 7816-4, which end every response of a card.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace sim {

enum : uint16_t {
  kSwDone = 0x9000,
  kSwWrongLength = 0x6700,
  kSwWrongData = 0x6A80,
  kSwNoRoom = 0x6A81,  // "function not supported": no channel is left
  kSwNoApplication = 0x6A82,
  kSwWrongParameters = 0x6A86,
  kSwNotFound = 0x6A88,
  kSwNoInstruction = 0x6D00,
  kSwNoClass = 0x6E00,
};

inline std::vector<uint8_t> with_status(std::vector<uint8_t> response, uint16_t status) {
  response.push_back(static_cast<uint8_t>(status >> 8));
  response.push_back(static_cast<uint8_t>(status));
  return response;
}
inline std::vector<uint8_t> status_only(uint16_t status) { return with_status({}, status); }

}  // namespace sim
