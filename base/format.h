// Formatting where the format is "%s", or a text, most of the time.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace base {

// As std::vsnprintf, for a `size` that is not 0. What needs no formatting, as the lines that the
// trace gives to the logs, costs a copy.
__attribute__((format(printf, 3, 0))) inline int format(char* room, size_t size, const char* format,
                                                        va_list arguments) {
  const bool ready = std::strcmp(format, "%s") == 0;
  if (!ready && std::strchr(format, '%') != nullptr) {
    return std::vsnprintf(room, size, format, arguments);
  }
  const char* const text = ready ? va_arg(arguments, const char*) : format;
  const size_t length = std::strlen(text);
  const size_t copied = std::min(length, size - 1);
  std::memcpy(room, text, copied);
  room[copied] = '\0';
  return static_cast<int>(length);
}

}  // namespace base
