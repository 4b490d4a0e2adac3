#include "traffic/report/json_values.h"

#include <cmath>
#include <cstdlib>

#include "qcci/wire/octets.h"

namespace traffic {
namespace {

using nlohmann::json;

// What a script's numbers hold exactly.
constexpr uint64_t kExact = uint64_t{1} << 53;

json json_of(const Number& number) {
  const auto value = static_cast<int64_t>(number.bits);
  if (number.is_signed && value < 0) {
    return 0 - number.bits <= kExact ? json(value) : json(to_string(number));
  }
  return number.bits <= kExact ? json(number.bits) : json(to_string(number));
}

class Maker final : public Visitor {
 public:
  explicit Maker(JsonValues* out) : out_(*out), open_{&out->fields} {}

  void number(const char* name, const Number& number) override {
    json field = {name, json_of(number)};
    if (number.meaning != nullptr) field.push_back(number.meaning);
    open_.back()->push_back(std::move(field));
    if (!number.failure) return;
    out_.failures.push_back(number.meaning != nullptr
                                ? std::string(number.meaning)
                                : std::string(name) + " " + to_string(number));
  }
  void decimal(const char* name, float value) override {
    const std::string text = to_string(value);
    // By its few digits: as a double it would have some more.
    if (std::isfinite(value)) {
      open_.back()->push_back({name, std::strtod(text.c_str(), nullptr)});
    } else {
      open_.back()->push_back({name, text});
    }
  }
  void octets(const char* name, std::span<const uint8_t> octets, size_t count) override {
    json value = {{"octets", qcci::to_hex(octets, " ")}};
    if (count > octets.size()) value["count"] = count;
    open_.back()->push_back(json::array({name, std::move(value)}));
  }
  void text(const char* name, std::string_view text) override {
    open_.back()->push_back(json::array({name, {{"text", text}}}));
  }
  void begin_array(const char* name, size_t /*count*/) override { open(name, "items"); }
  void end_array() override { open_.pop_back(); }
  void begin_record(const char* name) override { open(name, "fields"); }
  void end_record() override { open_.pop_back(); }

 private:
  void open(const char* name, const char* kind) {
    json& around = *open_.back();
    around.push_back(json::array({name, {{kind, json::array()}}}));
    open_.push_back(&around.back()[1][kind]);
  }

  JsonValues& out_;
  // The lists that are being filled, the innermost last. A list grows only while it is the last.
  std::vector<json*> open_;
};

}  // namespace

JsonValues json_values(Decoded& decoded) {
  JsonValues values;
  Maker maker(&values);
  walk(decoded, maker);
  return values;
}

}  // namespace traffic
