#include "traffic/report/report.h"

#include "qcci/wire/octets.h"
#include "traffic/report/json_values.h"
#include "traffic/report/page.h"
#include "traffic/view/print.h"

namespace traffic {
namespace {

using nlohmann::json;

// Without any "<", which is what could end the page's element or begin another. Octets that are no
// UTF-8 are replaced.
void append_json(const json& value, std::string* to) {
  for (const char c : value.dump(-1, ' ', false, json::error_handler_t::replace)) {
    if (c == '<') {
      *to += "\\u003c";
    } else {
      *to += c;
    }
  }
}

std::string address_text(const qcci::Address& address) {
  return std::to_string(address.node) + "." + std::to_string(address.port);
}

}  // namespace

Report::Report(const std::string& name) {
  part_ = page_before_data();
  part_ += "{\"name\":";
  append_json(name, &part_);
  part_ += ",\"events\":[";
}

// Whether there is no room for one more event, which is left out then.
bool Report::is_full() {
  if (events_ < kMostEvents) return false;
  ++left_out_;
  return true;
}

void Report::add(const json& event) {
  if (events_++ != 0) part_ += ",\n";
  append_json(event, &part_);
}

const std::string& Report::section(const std::string& command_line) {
  if (events_ != 0) part_.clear();
  if (!is_full()) add({{"run", command_line}});
  return part_;
}

void Report::add_message(const Frame& frame) {
  Decoded& d = decoder_.decode(frame);
  JsonValues values = json_values(d);
  json event = {{"t", frame.time_ns - begun_ns_},
                {"client", address_text(frame.client())},
                {"server", address_text(frame.server())},
                {"service", frame.service},
                {"message", d.header.message},
                {"type", type_name(d.header.type)},
                {"transaction", d.header.transaction},
                {"values", std::move(values.fields)}};
  if (d.service != nullptr) {
    event["service_name"] = d.service->name;
    event["message_name"] = d.service->message_name(d.header.message);
  }
  if (d.answers) event["answers"] = *d.answers;
  if (!values.failures.empty()) event["failures"] = std::move(values.failures);
  if (!d.problem.empty()) {
    event["problem"] = d.problem;
    event["datagram"] = qcci::to_hex(frame.octets, " ");
  }
  add(event);
}

const std::string& Report::frame(const Frame& frame) {
  if (events_ != 0) part_.clear();
  if (!begun_) begun_ns_ = frame.time_ns;
  begun_ = true;
  const int64_t time = frame.time_ns - begun_ns_;
  if (frame.kind == Kind::kMessage && !is_full()) add_message(frame);
  if (frame.kind == Kind::kControl && !is_full()) {
    add({{"t", time}, {"control", control_text(frame)}});
  }
  for (const std::string& comment : frame.comments) {
    if (!is_full()) add({{"t", time}, {"note", comment}});
  }
  return part_;
}

const std::string& Report::end(const std::string& damage) {
  if (events_ != 0) part_.clear();
  part_ += "],\n\"begun_ms\":" + std::to_string(begun_ns_ / 1000000) +
           ",\"left_out\":" + std::to_string(left_out_) + ",\"damage\":";
  append_json(damage, &part_);
  part_ += "}";
  part_ += page_behind_data();
  return part_;
}

}  // namespace traffic
