#include "common/trace.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/kelvor_utils.h"

namespace {

thread_local const Operation* t_innermost = nullptr;

const char* base_name(const char* file) {
  const char* slash = std::strrchr(file, '/');
  return slash != nullptr ? slash + 1 : file;
}

// One message with what both sinks have before it: "RIL[source:line] function: message". The log
// has a prefix of its own for "RIL", and usage lines have none on the shell.
class Line {
 public:
  Line(const char* file, int line, const char* function) {
    append("RIL[");
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
    const int length = std::vsnprintf(room_ + size_, left, format, arguments);
    if (length < 0) {
      room_[size_] = '\0';  // a message that cannot be formed is an empty one
    } else if (static_cast<size_t>(length) >= left) {
      format_at_length(static_cast<size_t>(length), format, again);
    }
    va_end(again);
    size_ += std::strlen(text_ + size_);
  }

  // "[source:line] function: message"
  const char* behind_ril() const { return text_ + 3; }
  // To standard output, in one call. The line is not to be used after that.
  void to_shell(bool bare) {
    text_[size_++] = '\n';
    const size_t from = bare ? prefix_ : 0;
    std::fwrite(text_ + from, 1, size_ - from, stdout);
  }

 private:
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
  size_t size_ = 0;
  size_t prefix_ = 0;
};

void to_log(TraceLevel level, const char* text) {
  const auto write = level == kTraceError ? kelvor_utils_syslog_err : kelvor_utils_syslog_dbg;
  const int32_t instance = kelvor_get_qcril_process_instance_id();
  if (instance != KELVOR_NO_PROCESS_INSTANCE) {
    write("SUB[%d]%s", instance, text);
  } else {
    write("[%s]%s", kelvor_get_current_pid_name(), text);
  }
}

}  // namespace

void trace_write(TraceLevel level, const char* file, int line, const char* function,
                 const char* format, ...) {
  const bool log = kelvor_hal_get_logcat_print_flag(level);
  const bool shell = kelvor_hal_get_shell_print_flag(level);
  if (!log && !shell) return;
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
  if (log) to_log(level, text.behind_ril());
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
