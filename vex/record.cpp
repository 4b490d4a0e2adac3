#include "vex/record.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "common/result.h"
#include "platform/clock.h"
#include "platform/idl/nas.h"
#include "platform/idl/pdc.h"
#include "platform/idl/sar.h"
#include "platform/idl/uim.h"
#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "platform/idl/vs.h"
#include "platform/result.h"
#include "vex/codes/result_codes.h"
#include "vex/command.h"
#include "vex/commands.h"
#include "vex/json.h"

namespace vex {
namespace {

using result::Layer;

constexpr int kSchema = 1;

// Whether any service that the tool uses is on the bus.
bool modem_is_there() {
  const qmi_idl_service_object_type services[] = {
      uim_get_service_object_internal_v01(UIM_IDL_MAJOR, UIM_IDL_MINOR, UIM_IDL_TOOL),
      nas_get_service_object_internal_v01(NAS_IDL_MAJOR, NAS_IDL_MINOR, NAS_IDL_TOOL),
      pdc_get_service_object_internal_v01(PDC_IDL_MAJOR, PDC_IDL_MINOR, PDC_IDL_TOOL),
      sar_get_service_object_internal_v01(SAR_IDL_MAJOR, SAR_IDL_MINOR, SAR_IDL_TOOL),
      vs_get_service_object_internal_v01(VS_IDL_MAJOR, VS_IDL_MINOR, VS_IDL_TOOL),
      kelvor_extend_get_service_object_internal_v01(
          KELVOR_VENDOR_IDL_MAJOR, KELVOR_VENDOR_IDL_MINOR, KELVOR_VENDOR_IDL_TOOL),
  };
  for (const auto service : services) {
    uint32_t instances = 0;
    if (qmi_client_get_service_list(service, nullptr, nullptr, &instances) == 0) return true;
  }
  return false;
}

const char* outcome_of(const result::Record& record) {
  if (record.outcome == result::Outcome::kUsage) return "usage";
  if (record.outcome == result::Outcome::kUnsupported) return "unsupported";
  if (record.outcome == result::Outcome::kOk) return "ok";
  const CodeRow* row = find_code(record.code);
  // A shell's failure and a modem's own have nothing to do with reaching it; a code without a row
  // is some service's.
  const bool maybe = row != nullptr && row->maybe_no_modem;
  return maybe && !modem_is_there() ? "no_modem" : "failed";
}

void put_code(JsonLine& line, result::Code code) {
  line.key("layer");
  line.string_value(name_of(code.layer));
  line.key("code");
  line.raw(std::to_string(code.code));
  line.key("name");
  const CodeRow* row = find_code(code);
  if (row != nullptr) {
    line.string_value(name_of(*row));
  } else {
    line.raw("null");
  }
}

// command, sub_command and arguments; null for a word that is not there.
void put_words(JsonLine& line, int argc, char** argv) {
  const int command = argc > 1 ? std::atoi(argv[1]) : 0;
  // These take their own words at once.
  const bool rows = command >= kCommandRf && command <= kCommandScan &&
                    command != kCommandQmiSend && command != kCommandAt;
  int own = 1;
  line.key("command");
  line.raw(argc > own ? std::to_string(command) : "null");
  if (argc > own) ++own;
  line.key("sub_command");
  const bool sub = rows && argc > own;
  line.raw(sub ? std::to_string(std::atoi(argv[own])) : "null");
  if (sub) ++own;
  line.key("arguments");
  line.begin('[');
  for (int i = own; i < argc; ++i) line.string_value(argv[i]);
  line.end(']');
}

void put_values(JsonLine& line, const result::Record& record) {
  line.key("read");
  line.begin('[');
  for (const result::Value& value : record.values) {
    line.begin('{');
    line.key("name");
    line.string_value(value.name);
    line.key("value");
    if (value.number) {
      line.raw(value.text);
    } else {
      line.string_value(value.text);
    }
    if (*value.unit != '\0') {
      line.key("unit");
      line.string_value(value.unit);
    }
    if (!value.of.empty()) {
      line.key("of");
      line.string_value(value.of);
    }
    line.end('}');
  }
  line.end(']');
}

void put_outcome(JsonLine& line, const result::Record& record) {
  const bool failed = record.outcome == result::Outcome::kFailed;
  line.key("outcome");
  line.string_value(outcome_of(record));
  line.key("result");
  if (failed) {
    line.begin('{');
    put_code(line, record.code);
    if (record.has_cause &&
        (record.cause.layer != record.code.layer || record.cause.code != record.code.code)) {
      line.key("cause");
      line.begin('{');
      put_code(line, record.cause);
      line.end('}');
    }
    line.end('}');
  } else {
    line.raw("null");
  }
  line.key("errors");
  line.begin('[');
  for (const std::string& error : record.errors) line.string_value(error);
  line.end(']');
  line.key("errors_dropped");
  line.raw(std::to_string(record.errors_dropped));
}

}  // namespace

RunRecord::RunRecord(int argc, char** argv)
    : argc_(argc), argv_(argv), wanted_(platform_result_begin()) {
  if (!wanted_) return;
  result::start();
  begun_ms_ = platform_now_ms();
}

RunRecord::~RunRecord() {
  if (!wanted_) return;
  const uint64_t took_ms = platform_now_ms() - begun_ms_;
  const result::Record record = result::take();
  JsonLine line;
  line.begin('{');
  line.key("schema");
  line.raw(std::to_string(kSchema));
  line.key("version");
  line.string_value(VEX_VERSION);
  put_words(line, argc_, argv_);
  line.key("requests");
  line.raw(std::to_string(platform_requests_sent()));
  put_outcome(line, record);
  put_values(line, record);
  line.key("time_ms");
  line.raw(std::to_string(took_ms));
  line.end('}');
  const std::string text = line.text() + "\n";
  platform_result_write(text.data(), text.size());
}

int note_nvefs(int code) {
  const bool own = code <= KELVOR_NVEFS_INTERNAL && code >= KELVOR_NVEFS_BAD_NV_ID;
  return result::fail(own ? Layer::kNvefs : Layer::kModem, code);
}

int note_uim(int code) {
  // Below -1 it is the client library's.
  if (code != 0)
    return result::fail(code == KELVOR_UIM_FAILED ? Layer::kUim : Layer::kClient, code);
  result::fail_if_refused();
  return code;
}

int note_common(int code, const void* rsp) {
  if (code != 0) return result::fail(Layer::kVendor, code);
  int32_t answered = 0;
  std::memcpy(&answered, static_cast<const uint8_t*>(rsp) + offsetof(kelvor_common_rsp, result),
              sizeof answered);
  result::fail(Layer::kModem, answered);
  return code;
}

}  // namespace vex
