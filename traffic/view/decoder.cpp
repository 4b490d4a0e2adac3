#include "traffic/view/decoder.h"

#include <algorithm>

#include "platform/idl/vendor.h"
#include "qcci/idl/codec.h"

namespace traffic {
namespace {

// More requests than wait at a time in any run. A capture with more has requests without responses.
constexpr size_t kMostAsked = 4096;

const qmi_idl_service_object* service_of(uint32_t id) {
  for (const auto service : qcci::idl::all_services()) {
    if (service->id == id) return service;
  }
  return nullptr;
}

const kelvor_vendor_msg& vendor_message(const Decoded& decoded) {
  return *reinterpret_cast<const kelvor_vendor_msg*>(decoded.c.data());
}

}  // namespace

const char* type_name(uint8_t type) {
  switch (type) {
    case QMI_IDL_REQUEST:
      return "request";
    case QMI_IDL_RESPONSE:
      return "response";
    case QMI_IDL_INDICATION:
      return "indication";
    default:
      return "?";
  }
}

bool has_vendor_payload(const Decoded& decoded) {
  return decoded.message != nullptr && decoded.service == &qcci::idl::kVendorService &&
         decoded.header.message == KELVOR_VENDOR_GENERIC && vendor_message(decoded).data_valid != 0;
}

std::span<const uint8_t> vendor_payload(const Decoded& decoded) {
  const kelvor_vendor_msg& message = vendor_message(decoded);
  return std::span(message.data).first(std::min<size_t>(message.data_len, sizeof message.data));
}

void Decoder::match_exchange() {
  Decoded& d = decoded_;
  const Key key{d.frame->client(), d.frame->server(), d.frame->service, d.header.transaction};
  if (d.type() == QMI_IDL_REQUEST) {
    if (has_vendor_payload(d)) d.row = payload_row(vendor_message(d).id, vendor_payload(d));
    if (d.row != nullptr) d.payload = d.row->request;
    for (const PayloadField& field : d.payload) {
      if (field.name == std::string_view("nv_id")) {
        d.nv_id = static_cast<uint16_t>(number_at(vendor_payload(d), field.offset, field.width));
      }
    }
    if (asked_.size() >= kMostAsked) asked_.clear();
    asked_[key] = {d.number, d.frame->time_ns, d.row, d.nv_id};
  } else if (d.type() == QMI_IDL_RESPONSE) {
    const auto asked = asked_.find(key);
    if (asked == asked_.end()) return;
    d.answers = asked->second.number;
    d.took_ns = d.frame->time_ns - asked->second.time_ns;
    d.row = asked->second.row;
    d.nv_id = asked->second.nv_id;
    if (d.row != nullptr && has_vendor_payload(d)) d.payload = d.row->response;
  }
}

Decoded& Decoder::decode(const Frame& frame) {
  Decoded& d = decoded_;
  d.frame = &frame;
  d.service = service_of(frame.service);
  d.message = nullptr;
  d.problem = {};
  d.header = {};
  d.c.clear();
  d.payload = {};
  d.number = count_++;
  d.answers.reset();
  d.took_ns.reset();
  d.row = nullptr;
  d.nv_id.reset();
  if (!qcci::QmiHeader::parse(frame.octets, &d.header)) {
    d.problem = "not a whole message";
    return d;
  }
  const qcci::idl::Message* message =
      d.service == nullptr || d.type() > QMI_IDL_INDICATION
          ? nullptr
          : d.service->find(static_cast<qmi_idl_message_type>(d.type()), d.header.message);
  if (message == nullptr) {
    d.problem = d.service == nullptr ? "unknown service" : "unknown message";
  } else {
    d.c.resize(message->c_size);
    const auto error = qcci::idl::decode(*message, d.tlvs(), d.c.data(), d.c.size());
    if (error == qcci::idl::CodecError::kOk) {
      d.message = message;
    } else {
      d.problem = qcci::idl::codec_error_text(error);
    }
  }
  match_exchange();
  return d;
}

}  // namespace traffic
