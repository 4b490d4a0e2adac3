// Captures: what is written, read, shown and redacted.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <regex>

#include "platform/idl/nas.h"
#include "platform/idl/vendor.h"
#include "platform/idl/vs.h"
#include "qcci/idl/codec.h"
#include "support/capture_files.h"
#include "support/random_message.h"
#include "traffic/dissector/dissector.h"
#include "traffic/file/pcapng.h"
#include "traffic/view/walk.h"
#include "vireo/records/layouts.h"

namespace traffic {
namespace {

struct ReadBack {
  std::vector<Frame> frames;
  Reader::Result end;
  uint64_t skipped;
};

ReadBack read(const std::string& path) {
  ReadBack back{};
  Reader reader;
  EXPECT_TRUE(reader.open(path));
  Frame frame;
  while ((back.end = reader.next(&frame)) == Reader::Result::kFrame) back.frames.push_back(frame);
  back.skipped = reader.skipped();
  return back;
}

TEST_F(Files, WhatIsDamagedIsReadAsFarAsItGoes) {
  Frame frame = frame_of(NAS_SERVICE_ID, QMI_IDL_RESPONSE, 9, NAS_BIND_SUBSCRIPTION,
                         desk::unhex("02 04 00 00 00 00 00"));
  frame.comments = {"one", "two"};
  const std::string head = section_of("vex", "vex 12 0"), one = packet(frame);
  // Torn at every octet: nothing but what is whole.
  const std::string whole = head + one + one;
  for (size_t length = 0; length <= whole.size(); ++length) {
    const ReadBack back = read(write("torn", whole.substr(0, length)));
    const size_t packets = length < head.size() ? 0 : (length - head.size()) / one.size();
    ASSERT_EQ(back.frames.size(), packets) << length;
    ASSERT_NE(back.end, Reader::Result::kBad) << length;
    for (const Frame& read : back.frames) {
      ASSERT_EQ(read.octets, frame.octets);
      ASSERT_EQ(read.time_ns, frame.time_ns);
      ASSERT_TRUE(read.to_client && read.from == frame.from && read.to == frame.to);
      ASSERT_EQ(read.comments, frame.comments);
    }
  }
  const auto with = [&](size_t at, std::string_view octets) {
    std::string damaged = whole + one;
    return damaged.replace(head.size() + one.size() + at, octets.size(), octets);
  };
  const struct {
    const char* rule;
    std::string octets;
    Reader::Result end;
    size_t frames, skipped;
  } kRows[] = {
      {"no capture at all", "plain text, long enough", Reader::Result::kBad, 0, 0},
      {"a length of no octets", with(4, {"\0\0\0\0", 4}), Reader::Result::kBad, 1, 0},
      {"a length that is no multiple", with(4, {"\x21", 1}), Reader::Result::kBad, 1, 0},
      {"a length of gigabytes", with(4, {"\xF0\xFF\xFF\x7F", 4}), Reader::Result::kBad, 1, 0},
      {"two lengths that differ", with(one.size() - 4, {"\x20", 1}), Reader::Result::kBad, 1, 0},
      {"a captured length beyond its block", with(20, {"\xFF\xFF", 2}), Reader::Result::kEnd, 2, 1},
      {"an interface that is not there", with(8, {"\x05", 1}), Reader::Result::kEnd, 2, 1},
      {"another dissector", with(32, {"other.", 6}), Reader::Result::kEnd, 2, 1},
      {"another link type",
       section_of("x", "").replace(section_of("x", "").size() - 32, 1, "\x01") + one,
       Reader::Result::kEnd, 0, 1},
      {"an unknown block", head + std::string("\x05\0\0\0\x0C\0\0\0\x0C\0\0\0", 12) + one,
       Reader::Result::kEnd, 1, 0},
  };
  for (const auto& row : kRows) {
    const ReadBack back = read(write("damaged", row.octets));
    EXPECT_EQ(back.end, row.end) << row.rule;
    EXPECT_EQ(back.frames.size(), row.frames) << row.rule;
    EXPECT_EQ(back.skipped, row.skipped) << row.rule;
  }
}

// The fields of a message as the dissector names them, and what tshark shows of each.
class Fields final : public Visitor {
 public:
  explicit Fields(const Decoded& decoded)
      : path_{field_prefix(*decoded.service, decoded.header.message, decoded.header.type)} {}

  void number(const char* name, const Number& number) override { add(name, to_string(number)); }
  void decimal(const char* name, float value) override { add(name, to_string(value)); }
  void octets(const char* name, std::span<const uint8_t> octets, size_t) override {
    std::string text = qcci::to_hex(octets, ":");
    for (char& c : text) c = static_cast<char>(std::tolower(c));
    if (!octets.empty()) add(name, text);
  }
  void text(const char* name, std::string_view text) override {
    if (!text.empty()) add(name, std::string(text));
  }
  void begin_array(const char* name, size_t) override {
    path_.push_back(path_.back() + name + ".");
  }
  void end_array() override { path_.pop_back(); }
  void begin_record(const char* name) override {
    path_.push_back(path_.back() + name + (*name == '\0' ? "" : "."));
  }
  void end_record() override { path_.pop_back(); }

  std::vector<std::string> all;

 private:
  void add(const char* name, const std::string& value) {
    std::string path = path_.back() + name;
    if (path.back() == '.') path.pop_back();
    all.push_back(path + "=" + value);
  }
  std::vector<std::string> path_;
};

std::vector<Frame> random_frames() {
  std::vector<Frame> frames;
  std::mt19937 numbers(20261121);
  desk::RandomMessage random([&](uint32_t n) { return static_cast<uint32_t>(numbers() % n); });
  uint16_t transaction = 0;
  const auto add = [&](const qmi_idl_service_object& service, qmi_idl_message_type type,
                       uint16_t id, const auto& c) {
    const qcci::idl::Message& message = *service.find(type, id);
    std::vector<uint8_t> tlvs(message.max_encoded);
    const auto out = qcci::idl::encode(message, c.data(), c.size(), tlvs);
    frames.push_back(
        frame_of(service.id, type, transaction, id, std::span(tlvs).first(out.length)));
  };
  for (const auto service : qcci::idl::all_services()) {
    for (const auto& row : service->rows) {
      for (const auto type : {QMI_IDL_REQUEST, QMI_IDL_RESPONSE, QMI_IDL_INDICATION}) {
        if (row.find(type) == nullptr) continue;
        for (int i = 0; i < 3; ++i, ++transaction) {
          add(*service, type, row.id, random.fill(*row.find(type)));
        }
      }
    }
  }
  for (const PayloadRow& row : payload_rows()) {
    const qcci::idl::Message& message =
        *qcci::idl::kVendorService.find(QMI_IDL_REQUEST, KELVOR_VENDOR_GENERIC);
    for (const auto type : {QMI_IDL_REQUEST, QMI_IDL_RESPONSE}) {
      std::vector<uint8_t> c = random.fill(message);
      auto& generic = *reinterpret_cast<kelvor_vendor_msg*>(c.data());
      generic.data_valid = 1;
      generic.data_len = type == QMI_IDL_REQUEST ? 512 : 100 + transaction % 412u;
      if (type == QMI_IDL_REQUEST) {
        for (uint8_t& octet : generic.data) octet = static_cast<uint8_t>('a' + octet % 26);
        generic.id = row.family;
        const int64_t selector = row.selector < 0 ? 77 : row.selector, item = row.item;
        std::memcpy(generic.data, &selector, selector_width(row.family));
        if (item >= 0) std::memcpy(generic.data + kItemAt, &item, 4);
      }
      add(qcci::idl::kVendorService, type, KELVOR_VENDOR_GENERIC, c);
    }
    ++transaction;
  }
  // Every statistics record: whole, cut within a field, and with more behind it.
  for (const auto& [id, fields] : vireo::kLayouts) {
    const qcci::idl::Message& message =
        *qcci::idl::kVsService.find(QMI_IDL_RESPONSE, VS_GET_PARAMETERS);
    std::vector<uint8_t> c(message.c_size);
    auto& response = *reinterpret_cast<vs_get_parameters_resp*>(c.data());
    response.parameters_valid = 1;
    for (const int beyond : {0, -1, 3}) {
      vs_parameter& one = response.parameters[response.parameters_len++];
      one.id = id;
      size_t at = 0;
      for (const vireo::Field& field : fields) {
        const float level = -95.5F + static_cast<float>(at);
        if (field.width == sizeof level) std::memcpy(one.data + at, &level, sizeof level);
        at += field.width;
      }
      one.data_len = static_cast<uint32_t>(static_cast<int>(at) + beyond);
    }
    add(qcci::idl::kVsService, QMI_IDL_RESPONSE, VS_GET_PARAMETERS, c);
  }
  return frames;
}

TEST_F(Files, TheDissectorShowsEveryFieldOfEveryMessageAsPrintDoes) {
  if (std::system("command -v tshark >/dev/null") != 0) {
    GTEST_SKIP() << "tools/install capture installs tshark";
  }
  const std::vector<Frame> frames = random_frames();
  std::string capture = section_of("test", "");
  for (const Frame& frame : frames) capture += packet(frame);
  const std::string file = write("capture", capture), lua = write("vexqmi.lua", dissector());
  const desk::Ran ran = desk::run("tshark -X lua_script:" + lua + " -r " + file +
                                  " -T pdml 2>/dev/null | grep -e '^  <proto name=\"vexqmi' -e "
                                  "'name=\"vexqmi' -e '^<packet>'");
  std::vector<std::vector<std::string>> shown;
  const auto attribute = [](const std::string& line, const std::string& name) {
    const size_t at = line.find(" " + name + "=\"") + name.size() + 3;
    return line.substr(at, line.find('"', at) - at);
  };
  std::istringstream lines(ran.output);
  for (std::string line; std::getline(lines, line);) {
    if (line == "<packet>") shown.emplace_back();
    if (line.find("<field ") == std::string::npos) continue;
    const std::string name = attribute(line, "name");
    EXPECT_NE(name, "vexqmi.bad") << shown.size();
    if (name.find('.', 7) == std::string::npos) continue;  // of the header
    shown.back().push_back(name + "=" + attribute(line, "show"));
  }
  ASSERT_EQ(shown.size(), frames.size());
  Decoder decoder;
  for (size_t i = 0; i < frames.size(); ++i) {
    Decoded& decoded = decoder.decode(frames[i]);
    ASSERT_EQ(decoded.problem, "");
    Fields fields(decoded);
    walk(decoded, fields);
    ASSERT_EQ(shown[i], fields.all) << i;
  }
}

// Everything that is said of a phone and its owner, in every form.
TEST_F(Files, RedactionLeavesNothing) {
  const struct {
    const char* what;
    const char* text;  // in comments and in ASCII
    const char* octets;
  } kRows[] = {
      {"an IMEI", "123456789012347", "08 1A 32 54 76 98 10 32 74"},
      {"an IMSI", "001012345678905", "08 09 10 10 32 54 76 98 50"},
      {"an ICCID", "8988001000000000015", "98 88 00 01 00 00 00 00 10 F5"},
      {"an EID", "89044099123456789012345678901220",
       "89 04 40 99 12 34 56 78 90 12 34 56 78 90 12 20"},
      {"a phone number", "4915112345678", "08 91 94 51 11 32 54 76 F8"},
  };
  std::string capture = section_of("vex", "vex 4 2 0 550 8 26 50 84 118 152 16 50 116");
  const auto add = [&](const Frame& frame) { capture += packet(frame); };
  for (const auto& row : kRows) {
    const auto octets = desk::unhex(row.octets);
    std::vector<uint8_t> apdu = {0x01, 1,
                                 0,    1,
                                 0x02, static_cast<uint8_t>(octets.size() + 2),
                                 0,    static_cast<uint8_t>(octets.size()),
                                 0};
    apdu.insert(apdu.end(), octets.begin(), octets.end());
    Frame frame = frame_of(0x0B, QMI_IDL_REQUEST, 1, 0x003B, apdu);
    frame.comments = {std::string("saved ") + row.text};
    add(frame);
    // An element without a row, a message that cannot be decoded, a service that nobody knows.
    std::vector<uint8_t> unknown = apdu;
    unknown.insert(unknown.end(), {0x77, static_cast<uint8_t>(octets.size()), 0});
    unknown.insert(unknown.end(), octets.begin(), octets.end());
    add(frame_of(0x0B, QMI_IDL_REQUEST, 2, 0x003B, unknown));
    add(frame_of(0x0B, QMI_IDL_REQUEST, 3, 0x003B, octets));
    add(frame_of(0x7777, QMI_IDL_REQUEST, 4, 1, octets));
    Frame text = frame_of(0x0B, QMI_IDL_RESPONSE, 1, 0x003B, desk::unhex("02 04 00 00 00 00 00"));
    const std::string_view digits = row.text;
    const auto length = static_cast<uint8_t>(digits.size());
    for (const uint8_t octet :
         {uint8_t{0x10}, static_cast<uint8_t>(length + 2), uint8_t{0}, length, uint8_t{0}}) {
      text.octets.push_back(octet);
    }
    text.octets.insert(text.octets.end(), digits.begin(), digits.end());
    const auto tlvs = std::span(text.octets).subspan(qcci::kQmiHeader);
    add(frame_of(0x0B, QMI_IDL_RESPONSE, 1, 0x003B, tlvs));
  }
  const std::string in = write("in", capture), out = directory_.root() + "/out";
  const desk::Ran ran = desk::run("$BIN/vex-traffic redact " + in + " -o " + out);
  EXPECT_EQ(ran.status, 0) << ran.output;
  const std::string redacted = directory_.file("out");
  EXPECT_EQ(redacted.size(), capture.size());
  const std::string hex = desk::hex(redacted);
  for (const auto& row : kRows) {
    EXPECT_NE(capture.find(row.text), std::string::npos) << row.what;
    EXPECT_EQ(redacted.find(row.text), std::string::npos) << row.what;
    EXPECT_EQ(hex.find(row.octets), std::string::npos) << row.what;
    // Its digits in comments and in octets are the same ones, again.
    EXPECT_EQ(hex.find(std::string(row.octets).substr(3, 14)), std::string::npos) << row.what;
  }
  EXPECT_EQ(redacted.find("26 50 84"), std::string::npos);
  const ReadBack back = read(out);
  ASSERT_EQ(back.frames.size(), 25u);
  const std::string imei = back.frames[0].comments[0].substr(6);
  std::string swapped = desk::hex(std::span(back.frames[0].octets).last(8));
  EXPECT_EQ(std::string({swapped[0], swapped[4], swapped[3]}), imei.substr(0, 3))
      << swapped << imei;
  EXPECT_EQ(desk::run("$BIN/vex-traffic redact " + in + " -o " + out).status, 1)
      << "is not written over";
}

// Without and with a capture, on phones that are made anew.
TEST(Capture, ACommandPrintsTheSame) {
  static const char* const kCommands[] = {"3 1 0", "4 1 0 550", "5 10 1 0", "6 0 75 0", "7 0",
                                          "8",     "9 31 0",    "10 1 0",   "11 0",     "12 0"};
  for (const char* const words : kCommands) {
    const auto run = [&](const char* capture) {
      const desk::PhoneDirectory directory;
      return desk::run("cd $VEX_PHONE; " + std::string(capture) + " $BIN/vex " + words +
                       "; test -z \"" + capture + "\" || $BIN/vex-traffic print c >/dev/null 2>&1");
    };
    const desk::Ran without = run(""), with = run("VEX_CAPTURE=c");
    const auto same = [](const std::string& output) {
      return std::regex_replace(output, std::regex("0x[0-9a-f]{6,}"), "0x");
    };
    EXPECT_EQ(same(with.output), same(without.output)) << words;
  }
}

}  // namespace
}  // namespace traffic
