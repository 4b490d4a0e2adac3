// The path of a file in the modem's EFS, and the operations on such a file.
//
// Requests state a path's length beside its text, and users of the EFS disagree on whether that
// counts the terminating zero. So a path carries the length that its requests state, and a path
// that the tool knows is checked when it is compiled.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/idl/vendor_payload.h"
#include "qmi/kelvor_extend_nvefs.h"

namespace qmi {

// A path and the length that requests state for it. Does not own its text, which must outlast it.
class EfsPath {
 public:
  // A path that is written in the source. One that is not absolute, holds a zero octet or does not
  // fit a transfer does not compile.
  template <size_t N>
  consteval EfsPath(const char (&text)[N]) : EfsPath(text, N - 1) {  // NOLINT: reads as its text
    if (N < 3 || N - 1 > KELVOR_NVEFS_TRANSFER_PATH_MAX || text[0] != '/') bad_path();
    for (size_t i = 0; i < N - 1; ++i) {
      if (text[i] == '\0') bad_path();
    }
  }
  // A path that was typed, whatever it is: the operations check it.
  static EfsPath of_word(const char* word) { return {word, std::strlen(word)}; }

  // The same file with a length that counts the terminating zero as well, as some users state it.
  // The modem ends a path at its length or at its first zero octet, whichever comes first; the
  // length in the request and in the trace differs.
  consteval EfsPath counting_zero() const { return {text_, size_t{length_} + 1}; }

  const char* text() const { return text_; }
  uint32_t length() const { return length_; }

 private:
  constexpr EfsPath(const char* text, size_t length)
      : text_(text), length_(static_cast<uint32_t>(length)) {}
  static void bad_path();  // reached only by a path that must not compile

  const char* text_;
  uint32_t length_;
};

}  // namespace qmi

// The operations of kelvor_extend_nvefs.h, of the same results; they too may be called from any
// thread.
[[nodiscard]] inline int32_t kelvor_efs_read(uint32_t sub, qmi::EfsPath path, uint8_t* buf,
                                             uint32_t* p_buf_len) {
  return kelvor_efs_read(sub, path.text(), path.length(), buf, p_buf_len);
}
[[nodiscard]] inline int32_t kelvor_efs_write(uint32_t sub, qmi::EfsPath path, const uint8_t* buf,
                                              uint32_t buf_len) {
  return kelvor_efs_write(sub, path.text(), path.length(), buf, buf_len);
}
[[nodiscard]] inline int32_t kelvor_efs_delete(uint32_t sub, qmi::EfsPath path) {
  return kelvor_efs_delete(sub, path.text(), path.length());
}
