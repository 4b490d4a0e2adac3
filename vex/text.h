// Numbers and hex text of command words. The limits are part of the commands' behaviour.
#pragma once

#include <cstdint>

extern "C" {

// Decimal, or hexadecimal behind "0x" or "0X". Junk is never reported. Null gives 0 and an error
// trace.
int32_t kelvor_string_to_int(const char* text);

// Hexadecimal digits without a prefix. Any other character counts as the digit 0. Each digit's term
// saturates at 2147483647 and the sum wraps at 32 bits, so that FFFFFFFF gives -1879048194. The
// first 50 digits count; what follows is ignored. Null gives 0 and an error trace.
int32_t kelvor_hex_string_to_int(const char* text);

// Two lower-case digits an octet, without a terminating zero: out has room for 2 x count. Nothing
// happens when bytes is null or count is not positive.
void kelvor_byte_to_hex(const uint8_t* bytes, int32_t count, char* out);

}  // extern "C"
