// A target's input, taken piece by piece. Zeros come behind its end.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <span>
#include <type_traits>

namespace fed {

// What is left of it. A target may give a thread a part.
inline thread_local std::span<const uint8_t> g_input;

// So many octets, as far as there are.
inline std::span<const uint8_t> octets(size_t n) {
  const std::span<const uint8_t> first = g_input.first(std::min(n, g_input.size()));
  g_input = g_input.subspan(first.size());
  return first;
}

inline void take(void* to, size_t n) {
  const std::span<const uint8_t> have = octets(n);
  std::memset(to, 0, n);
  if (!have.empty()) std::memcpy(to, have.data(), have.size());
}

inline uint8_t octet() {
  uint8_t value = 0;
  take(&value, 1);
  return value;
}

inline uint32_t below(uint32_t n) {
  uint32_t value = 0;
  take(&value, n <= 256 ? 1 : n <= 65536 ? 2 : 4);
  return value % n;
}

// Mostly one of these, else any number.
inline uint32_t number(std::initializer_list<uint32_t> likely) {
  uint32_t any = 0;
  const uint8_t which = octet();
  if (which < 0xF8) return likely.begin()[which % likely.size()];
  take(&any, sizeof any);
  return any;
}

// Calls a function that takes numbers alone.
template <class R, class... A>
void call(R (*function)(A...)) {
  static_cast<void>(
      function(static_cast<A>(std::is_enum_v<A> ? below(2) : number({0, 1, 2, 3}))...));
}
template <auto function>
void with_numbers() {
  call(function);
}

}  // namespace fed
