// Formatting where the format is "%s" most of the time.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace base {

// As std::vsnprintf, for a `size` that is not 0. What the trace gives to the logs is formatted
// already, and costs a copy here.
__attribute__((format(printf, 3, 0))) inline int format(char* room, size_t size, const char* format,
                                                        va_list arguments) {
  if (std::strcmp(format, "%s") != 0) return std::vsnprintf(room, size, format, arguments);
  const char* const text = va_arg(arguments, const char*);
  const size_t length = std::strlen(text);
  const size_t copied = std::min(length, size - 1);
  std::memcpy(room, text, copied);
  room[copied] = '\0';
  return static_cast<int>(length);
}

}  // namespace base
