#include "traffic/view/print.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "qcci/wire/octets.h"
#include "traffic/view/walk.h"

namespace traffic {
namespace {

constexpr size_t kOctetsALine = 32;
constexpr int64_t kSecond = 1000000000;

void append_octets(std::span<const uint8_t> octets, std::string* line) {
  for (const uint8_t octet : octets) {
    const auto digits = qcci::hex_digits(octet);
    line->append(digits.data(), digits.size()).push_back(' ');
  }
  if (!octets.empty()) line->pop_back();
}

// Characters that a terminal would act on are shown as \xNN.
void append_text(std::string_view text, std::string* line) {
  for (const char c : text) {
    if (c >= ' ' && c != '\x7f') {
      line->push_back(c);
      continue;
    }
    const auto digits = qcci::hex_digits(static_cast<uint8_t>(c));
    line->append("\\x").append(digits.data(), digits.size());
  }
}

class Values final : public Visitor {
 public:
  Values(size_t most_octets, std::string* line)
      : most_octets_(most_octets), line_(*line), begun_(line->size()) {}

  void number(const char* name, const Number& number) override {
    begin(name);
    line_ += to_string(number);
    if (number.meaning != nullptr) line_.append(" (").append(number.meaning).push_back(')');
  }
  void decimal(const char* name, float value) override {
    begin(name);
    line_ += to_string(value);
  }
  void octets(const char* name, std::span<const uint8_t> octets, size_t count) override {
    begin(name);
    line_ += '[';
    append_octets(octets.first(std::min(octets.size(), most_octets_)), &line_);
    if (std::min(octets.size(), most_octets_) < count) {
      line_.append(" ... ").append(std::to_string(count)).append(" octets");
    }
    line_ += ']';
  }
  void text(const char* name, std::string_view text) override {
    begin(name);
    line_ += '"';
    append_text(text, &line_);
    line_ += '"';
  }
  void begin_array(const char* name, size_t /*count*/) override { open(name, '['); }
  void end_array() override { line_ += ']'; }
  void begin_record(const char* name) override { open(name, '{'); }
  void end_record() override { line_ += '}'; }

 private:
  void open(const char* name, char bracket) {
    begin(name);
    line_ += bracket;
    begun_ = line_.size();
  }
  void begin(const char* name) {
    if (line_.size() > begun_) line_ += ' ';
    if (*name != '\0') line_.append(name).push_back('=');
  }

  const size_t most_octets_;
  std::string& line_;
  size_t begun_;  // where the innermost bracket, or the whole, began
};

bool same(const std::string& word, uint32_t number, const char* name) {
  if (word == name) return true;
  char* end = nullptr;
  const unsigned long value = std::strtoul(word.c_str(), &end, 0);
  return end != word.c_str() && *end == '\0' && value == number;
}

const char* control_name(qcci::Control command) {
  switch (command) {
    case qcci::Control::kHello:
      return "hello";
    case qcci::Control::kBye:
      return "bye";
    case qcci::Control::kNewServer:
      return "new server";
    case qcci::Control::kDelServer:
      return "server gone";
    case qcci::Control::kDelClient:
      return "client gone";
    case qcci::Control::kNewLookup:
      return "look-up";
    case qcci::Control::kDelLookup:
      return "look-up ends";
  }
  return "?";
}

__attribute__((format(printf, 2, 3))) void append_format(std::string* line, const char* format,
                                                         ...) {
  char text[160];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  *line += text;
}

const char* service_name(uint32_t id) {
  for (const auto service : qcci::idl::all_services()) {
    if (service->id == id) return service->name;
  }
  return "?";
}

}  // namespace

void append_values(Decoded& decoded, size_t most_octets, std::string* line) {
  Values values(most_octets, line);
  walk(decoded, values);
}

std::string service_words(uint32_t service) {
  std::string words = service_name(service);
  append_format(&words, " 0x%04x", service);
  return words;
}

std::string control_text(const Frame& frame) {
  qcci::ControlPacket packet;
  if (!qcci::ControlPacket::parse(frame.octets, &packet)) {
    return "name service: (not a whole packet)";
  }
  std::string text = std::string("name service: ") + control_name(packet.command);
  if (packet.command == qcci::Control::kNewServer && packet.ends_list()) {
    text += ": end of list";
  } else if (packet.command == qcci::Control::kNewLookup ||
             packet.command == qcci::Control::kDelLookup) {
    text += " of " + service_words(packet.service);
  } else if (packet.command == qcci::Control::kNewServer ||
             packet.command == qcci::Control::kDelServer) {
    text += ": " + service_words(packet.service);
    append_format(&text, " version %u at %u.%u", packet.instance & 0xFF, packet.node, packet.port);
  }
  return text;
}

void append_name(const Decoded& d, std::string* line) {
  if (d.service != nullptr) {
    *line += d.service->name;
  } else {
    append_format(line, "service 0x%04x", d.frame->service);
  }
  append_format(line, " 0x%04x %s %s", d.header.message,
                d.service != nullptr ? d.service->message_name(d.header.message) : "?",
                type_name(d.header.type));
}

void append_contents(Decoded& decoded, size_t most_octets, std::string* line) {
  if (decoded.problem.empty()) {
    append_values(decoded, most_octets, line);
  } else {
    line->append("(").append(decoded.problem).append(")");
  }
}

bool Printer::wanted(const Decoded& decoded) const {
  const bool service = options_.service.empty() || same(options_.service, decoded.frame->service,
                                                        service_name(decoded.frame->service));
  const char* const name =
      decoded.service != nullptr ? decoded.service->message_name(decoded.header.message) : "?";
  return service &&
         (options_.message.empty() || same(options_.message, decoded.header.message, name));
}

void Printer::append_time(int64_t time_ns) {
  const int64_t second = time_ns / kSecond;
  if (second != known_second_ || known_text_.empty()) {
    const time_t time = second;
    tm local{};
    char text[64] = "?";
    if (::localtime_r(&time, &local) != nullptr) {
      std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    }
    known_second_ = second;
    known_text_ = text;
  }
  line_ += known_text_;
  append_format(&line_, ".%06d ", static_cast<int>(time_ns % kSecond / 1000));
}

void Printer::append_message(Decoded& d) {
  const qcci::Address client = d.frame->client();
  append_format(&line_, "%u.%u ", client.node, client.port);
  append_name(d, &line_);
  append_format(&line_, " %u", d.header.transaction);
  if (d.took_ns) append_format(&line_, " in %.3f ms", static_cast<double>(*d.took_ns) / 1e6);
  line_ += ": ";
  append_contents(d, options_.octets ? SIZE_MAX : kShownOctets, &line_);
}

const std::string& Printer::lines(const Frame& frame) {
  line_.clear();
  const bool filtered = !options_.service.empty() || !options_.message.empty();
  Decoded* const decoded = frame.kind == Kind::kMessage ? &decoder_.decode(frame) : nullptr;
  if (filtered && (decoded == nullptr || !wanted(*decoded))) return line_;
  if (frame.kind != Kind::kNote) {
    append_time(frame.time_ns);
    if (decoded != nullptr) append_message(*decoded);
    if (frame.kind == Kind::kControl) line_ += control_text(frame);
    line_ += '\n';
  }
  for (const std::string& comment : frame.comments) {
    append_time(frame.time_ns);
    line_ += "# ";
    append_text(comment, &line_);
    line_ += '\n';
  }
  if (!options_.octets) return line_;
  for (size_t at = 0; at < frame.octets.size(); at += kOctetsALine) {
    append_format(&line_, "    %04zx  ", at);
    const auto rest = std::span(frame.octets).subspan(at);
    append_octets(rest.first(std::min(rest.size(), kOctetsALine)), &line_);
    line_ += '\n';
  }
  return line_;
}

}  // namespace traffic
