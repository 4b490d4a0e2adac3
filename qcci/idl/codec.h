// The TLV codec: walks a message's rows over its C structure, in both directions.
//
// It knows no service. It keeps no state and allocates nothing, so every function may be called
// from any thread. Lengths are in octets; `wire` is the TLVs without the QMI header; `c` is the
// message's C structure and c_size its size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "qcci/idl/element.h"

namespace qcci::idl {

// One code per cause.
enum class [[nodiscard]] CodecError : uint8_t{
    kOk,
    kWrongStructSize,   // the C structure is not the message's
    kNoRoom,            // encoding: the output is too small
    kCountTooLarge,     // an array's count is above the row's maximum (both directions)
    kValueTooLarge,     // encoding: a number does not fit its wire width
    kCutHeader,         // decoding: fewer than three octets where a TLV should begin
    kBeyondMessage,     // decoding: a TLV's length reaches beyond the message
    kTooShort,          // decoding: a TLV ends before its row does
    kTooLong,           // decoding: a TLV goes on after its row has ended
    kDuplicate,         // decoding: a type comes twice
    kMissingMandatory,  // decoding: a mandatory type does not come
    kUnknownMandatory,  // decoding: an unknown type below 0x10
};
const char* codec_error_text(CodecError error);

struct [[nodiscard]] Encoded {
  CodecError error;
  size_t length;  // of the TLVs; 0 after an error
};
// Encodes the structure's mandatory members and the optional ones whose flag is set, in the order
// of the rows. c may be null when the message is empty.
Encoded encode(const Message& message, const void* c, size_t c_size, std::span<uint8_t> out);

// Decodes into the structure, which is zeroed first; after an error its contents are unspecified
// but initialised. Unknown types from 0x10 up are skipped. A TLV that is longer than its row is an
// error, not an extension. Only the count of a `truncating` row may exceed its array.
CodecError decode(const Message& message, std::span<const uint8_t> wire, void* c, size_t c_size);

}  // namespace qcci::idl
