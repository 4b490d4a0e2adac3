// Status words of ISO/IEC 7816-4, which end every response of a card, and responses with them.
//
// A status word has two octets, sw1 and sw2; here it is one number with sw1 in its high octet. The
// names say what the simulated cards mean by them, which is narrower than the standard's wording.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace sim {

enum : uint16_t {
  kSwDone = 0x9000,             // success
  kSwWrongLength = 0x6700,      // the APDU is cut off, or its length field contradicts it
  kSwWrongData = 0x6A80,        // the data field is not what the function takes
  kSwNoRoom = 0x6A81,           // "function not supported": no channel is left
  kSwNoApplication = 0x6A82,    // the card has no application of that AID
  kSwWrongParameters = 0x6A86,  // P1 or P2
  kSwNotFound = 0x6A88,         // the card has no such function or data object
  kSwNoInstruction = 0x6D00,
  kSwNoClass = 0x6E00,
};

// A response APDU: the octets of `response`, then the status word, sw1 first.
inline std::vector<uint8_t> with_status(std::vector<uint8_t> response, uint16_t status) {
  response.push_back(static_cast<uint8_t>(status >> 8));
  response.push_back(static_cast<uint8_t>(status));
  return response;
}
// One without data, as of a command that failed.
inline std::vector<uint8_t> status_only(uint16_t status) { return with_status({}, status); }

}  // namespace sim
