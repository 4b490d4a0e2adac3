#include "traffic/dissector/dissector.h"

#include <algorithm>
#include <map>

#include "platform/idl/vendor.h"
#include "qcci/services/services.h"
#include "traffic/dissector/code.h"
#include "traffic/view/decoder.h"
#include "traffic/view/names.h"
#include "vireo/records/layouts.h"

namespace traffic {
namespace {

using qcci::idl::Element;
using qcci::idl::Shape;

// "[number] = ", before an item of a table.
std::string index(const std::string& number) { return std::string("[") + number + "] = "; }

std::string lua_text(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

std::string text_of(int64_t number) { return std::to_string(number); }

class Tables {
 public:
  std::string all();

 private:
  // The Lua expression of a field, which is made once.
  std::string field(const char* kind, const std::string& abbreviation, Place place);
  void add_elements(std::span<const Element> elements, const std::string& prefix, Place place);
  void add_message(const qmi_idl_service_object& service, const qcci::idl::MessageRow& row,
                   qmi_idl_message_type type);
  std::string record_fields(const std::string& path, Place place);
  std::string payload_fields(PayloadFields fields, uint8_t type);
  std::string payload_tables();

  std::map<std::string, size_t> fields_;
  std::string made_;  // the fields' definitions
  std::string tables_;
};

std::string Tables::field(const char* kind, const std::string& abbreviation, Place place) {
  const auto [found, is_new] = fields_.try_emplace(abbreviation, fields_.size() + 1);
  if (is_new) {
    const size_t dot = abbreviation.rfind('.');
    made_.append("f[").append(std::to_string(found->second)).append("] = ").append(kind);
    made_ += "(" + lua_text(abbreviation) + ", " + lua_text(abbreviation.substr(dot + 1));
    if (const Names names = names_at(place); !names.empty()) {
      made_ += ", {";
      for (const Name& name : names) {
        made_ += index(text_of(name.number)) + lua_text(name.text) + ", ";
      }
      made_ += "}";
    }
    made_ += ")\n";
  }
  return "f[" + std::to_string(found->second) + "]";
}

const char* number_kind(size_t width, bool is_signed) {
  return width == 8 ? "long" : is_signed ? "signed" : "unsigned";
}

void Tables::add_elements(std::span<const Element> elements, const std::string& prefix,
                          Place place) {
  for (const Element& e : elements) {
    const bool array = e.shape == Shape::kCounted || e.max > 1;
    const bool octets = array && e.record_count == 0 && e.stride == 1;
    const char* const kind = e.shape == Shape::kText ? "text" : octets ? "octets" : "number";
    const std::string path = prefix + e.name;
    tables_ += std::string("{kind = \"") + kind + "\", name = " + lua_text(e.name) +
               ", max = " + std::to_string(e.max) + ", width = " + std::to_string(e.wire_width) +
               ", count_width = " + std::to_string(e.count_width);
    if (e.record_count != 0) {
      tables_ += ", rows = {";
      Place inside = place;
      inside.around = e.name;
      add_elements({e.record, e.record_count}, path + ".", inside);
      tables_ += "}";
    } else {
      Place here = place;
      // A number of an array has no name of its own.
      here.name = array ? "" : e.name;
      if (array) here.around = e.name;
      tables_ += ", field = ";
      tables_ += field(e.shape == Shape::kText ? "text"
                       : octets                ? "octets"
                                               : number_kind(e.wire_width, e.is_signed),
                       path, here);
      if (octets && is_record({place.service, place.type, place.around, e.name})) {
        tables_ += record_fields(path + ".", place);
      }
    }
    tables_ += "}, ";
  }
}

void Tables::add_message(const qmi_idl_service_object& service, const qcci::idl::MessageRow& row,
                         qmi_idl_message_type type) {
  const qcci::idl::Message* const message = row.find(type);
  if (message == nullptr) return;
  tables_ += "  ";
  tables_ += index(std::to_string(type)) + "{\n";
  for (const qcci::idl::Tlv& tlv : std::span(message->tlvs, message->tlv_count)) {
    tables_ += "    {type = " + std::to_string(tlv.type) + ", rows = {";
    add_elements(
        {tlv.elements, tlv.count}, field_prefix(service, row.id, type),
        {.service = service.id, .type = static_cast<uint8_t>(type), .around = "", .name = ""});
    tables_ += "}},\n";
  }
  tables_ += "  },\n";
}

std::string Tables::record_fields(const std::string& path, Place place) {
  place.around = "data";
  place.name = "rest";
  std::string text = ", rest = " + field("octets", path + "rest", place) + ", records = {\n";
  for (const auto& [id, fields] : vireo::kLayouts) {
    text += "  [" + std::to_string(id) + "] = {";
    for (const vireo::Field& row : fields) {
      place.name = row.name;
      const char* const kind = row.type == vireo::FieldType::kDecimal
                                   ? "decimal"
                                   : number_kind(row.width, row.type == vireo::FieldType::kSigned);
      text += "{width = " + std::to_string(row.width) +
              ", field = " + field(kind, path + row.name, place) + "}, ";
    }
    text += "},\n";
  }
  return text + "}";
}

std::string Tables::payload_fields(PayloadFields fields, uint8_t type) {
  std::string text = "{";
  for (const PayloadField& row : fields) {
    static constexpr const char* kKinds[] = {"number", "octets", "text", "numbers"};
    const auto shape = static_cast<size_t>(row.shape);
    const bool number = row.shape == FieldShape::kNumber || row.shape == FieldShape::kNumbers;
    const char* const kind = number ? number_kind(row.width, row.is_signed) : kKinds[shape];
    const std::string abbreviation =
        field_prefix(qcci::idl::kVendorService, KELVOR_VENDOR_GENERIC, type) + "data." + row.name;
    Place place{
        .service = KELVOR_VENDOR_SERVICE_ID, .type = type, .around = "data", .name = row.name};
    if (row.shape == FieldShape::kNumbers) {
      place.around = row.name;
      place.name = "";
    }
    text += std::string("{kind = \"") + kKinds[shape] + "\", at = " + std::to_string(row.offset) +
            ", width = " + std::to_string(row.width) + ", room = " + std::to_string(row.room) +
            ", count_at = " + std::to_string(row.count_at) +
            ", count_width = " + std::to_string(row.count_width) +
            ", field = " + field(kind, abbreviation, place) + "}, ";
  }
  return text + "}";
}

std::string Tables::payload_tables() {
  std::map<uint32_t, uint8_t> widths;
  std::string text = "local payload_rows = {\n";
  for (const PayloadRow& row : payload_rows()) {
    widths[row.family] = selector_width(row.family);
    text += "  {family = " + std::to_string(row.family) + ", selector = " + text_of(row.selector) +
            ", item = " + text_of(row.item) +
            ",\n   request = " + payload_fields(row.request, QMI_IDL_REQUEST) +
            ",\n   response = " + payload_fields(row.response, QMI_IDL_RESPONSE) + "},\n";
  }
  text += "}\nlocal selector_widths = {";
  for (const auto& [family, width] : widths) {
    text += index(std::to_string(family)) + std::to_string(width) + ", ";
  }
  return text + "}\nlocal item_at = " + std::to_string(kItemAt) +
         "\nlocal vendor_service = " + std::to_string(KELVOR_VENDOR_SERVICE_ID) +
         "\nlocal vendor_message = " + std::to_string(KELVOR_VENDOR_GENERIC) + "\n";
}

std::string Tables::all() {
  std::string names = "local service_names = {";
  tables_ = "local services = {\n";
  for (const auto service : qcci::idl::all_services()) {
    names += index(std::to_string(service->id)) + lua_text(service->name) + ", ";
    tables_ += " ";
    tables_ += index(std::to_string(service->id)) + "{\n";
    for (const qcci::idl::MessageRow& row : service->rows) {
      tables_ += "  ";
      tables_ += index(std::to_string(row.id)) + "{name = " + lua_text(row.name) + ",\n";
      for (const auto type : {QMI_IDL_REQUEST, QMI_IDL_RESPONSE, QMI_IDL_INDICATION}) {
        add_message(*service, row, type);
      }
      tables_ += "  },\n";
    }
    tables_ += " },\n";
  }
  tables_ += "}\n" + payload_tables();
  return "local f = {}\n" + made_ + names + "}\n" + tables_;
}

}  // namespace

std::string field_prefix(const qmi_idl_service_object& service, uint32_t message, uint8_t type) {
  std::string name = service.message_name(message);
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == ' ' || c == '-'; }, '_');
  return std::string("vexqmi.") + service.name + "." + name + "." + type_name(type) + ".";
}

std::string dissector() { return kDissectorHead + Tables().all() + kDissectorTail; }

}  // namespace traffic
