#include "common/trace.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/format.h"
#include "common/result.h"
#include "platform/kelvor_utils.h"

namespace {

thread_local const Operation* t_innermost = nullptr;

const char* base_name(const char* file) {
  const char* slash = std::strrchr(file, '/');
  return slash != nullptr ? slash + 1 : file;
}

// One message with what both sinks have before it: "[source:line] function: message". Before that
// the shell has "RIL", or no prefix at all for a usage line; the log has a tag.
class Line {
 public:
  // A process's name has up to 15 octets, a number up to 11; both are in brackets.
  static constexpr size_t kTagRoom = 32;

  Line(const char* file, int line, const char* function) {
    append("[");
    append(file);
    append(":");
    char digits[16];
    *std::to_chars(digits, digits + sizeof digits - 1, line).ptr = '\0';
    append(digits);
    append("] ");
    append(function);
    append(": ");
    prefix_ = size_;
  }
  ~Line() {
    if (text_ != room_) std::free(text_);
  }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  __attribute__((format(printf, 2, 0))) void format(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    // The last octet is for the line end.
    const size_t left = sizeof room_ - size_ - 1;
    const int length = base::format(room_ + size_, left, format, arguments);
    if (length < 0) {
      room_[size_] = '\0';  // a message that cannot be formed is an empty one
    } else if (static_cast<size_t>(length) >= left) {
      format_at_length(static_cast<size_t>(length), format, again);
    }
    va_end(again);
    size_ += std::strlen(text_ + size_);
  }

  std::string_view message() const { return {text_ + prefix_, size_ - prefix_}; }
  // The line with a tag of up to kTagRoom octets, until the next call.
  const char* tagged(std::string_view tag) { return put_before(tag); }
  // To standard output, in one call. The line is not to be used after that.
  void to_shell(bool bare) {
    text_[size_++] = '\n';
    const char* const from = bare ? text_ + prefix_ : put_before("RIL");
    std::fwrite(from, 1, static_cast<size_t>(text_ + size_ - from), stdout);
  }

 private:
  const char* put_before(std::string_view tag) {
    char* const at = text_ + kTagRoom - tag.size();
    std::memcpy(at, tag.data(), tag.size());
    return at;
  }
  void append(const char* part) {
    // No source and no function has such a name; the message has the rest.
    constexpr size_t kLongestName = 200;
    const size_t length = strnlen(part, kLongestName);
    std::memcpy(room_ + size_, part, length);
    size_ += length;
  }
  // Without memory for it, a long message is cut.
  __attribute__((format(printf, 3, 0))) void format_at_length(size_t length, const char* format,
                                                              va_list arguments) {
    auto* const more = static_cast<char*>(std::malloc(size_ + length + 2));
    if (more == nullptr) return;
    std::memcpy(more, room_, size_);
    std::vsnprintf(more + size_, length + 1, format, arguments);
    text_ = more;
  }

  char room_[1024];
  char* text_ = room_;
  size_t size_ = kTagRoom;
  size_t prefix_ = 0;
};

// "SUB[instance]" or "[process]".
struct Tag {
  Tag() {
    const int32_t instance = kelvor_get_qcril_process_instance_id();
    const bool served = instance != KELVOR_NO_PROCESS_INSTANCE;
    append(served ? "SUB[" : "[");
    if (served) {
      char digits[16];
      append({digits, std::to_chars(digits, digits + sizeof digits, instance).ptr});
    } else {
      append(kelvor_get_current_pid_name());
    }
    append("]");
  }
  void append(std::string_view part) {
    part = part.substr(0, sizeof text - size);
    std::memcpy(text + size, part.data(), part.size());
    size += part.size();
  }
  char text[Line::kTagRoom];
  size_t size = 0;
};

void to_log(TraceLevel level, Line& line) {
  const Tag tag;
  const auto write = level == kTraceError ? kelvor_utils_syslog_err : kelvor_utils_syslog_dbg;
  write("%s", line.tagged({tag.text, tag.size}));
}

}  // namespace

void trace_write(TraceLevel level, const char* file, int line, const char* function,
                 const char* format, ...) {
  const bool log = kelvor_hal_get_logcat_print_flag(level);
  const bool shell = kelvor_hal_get_shell_print_flag(level);
  const bool record = level == kTraceError && result::wanted();
  if (!log && !shell && !record) return;
  if (const Operation* const operation = t_innermost) {
    const TraceSite& site = operation->site_;
    function = site.function;
    if (std::strcmp(file, site.file) != 0) {
      file = site.file;
      line = site.line;
    }
  }

  Line text(base_name(file), line, function);
  va_list arguments;
  va_start(arguments, format);
  text.format(format, arguments);
  va_end(arguments);
  if (record) result::error_line(function, text.message());
  if (log) to_log(level, text);
  if (shell) text.to_shell(level == kTraceUsage);
}

Operation::Operation(TraceSite site) : site_(site), outer_(t_innermost) { t_innermost = this; }

Operation::~Operation() { t_innermost = outer_; }

const char* Operation::name(const char* fallback) {
  return t_innermost != nullptr ? t_innermost->site_.function : fallback;
}

TraceScope::TraceScope(TraceSite site) : operation_(site) {
  TRACE_DEBUG("function entry ------------->");
}

TraceScope::~TraceScope() { TRACE_DEBUG("function exit <-------------"); }
