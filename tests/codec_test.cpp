#include "qcci/idl/codec.h"

#include <gtest/gtest.h>

#include <random>

#include "platform/idl/nas.h"
#include "platform/idl/sar.h"
#include "platform/idl/uim.h"
#include "platform/idl/vs.h"
#include "qcci/services/services.h"
#include "support/desk.h"
#include "support/random_message.h"
#include "traffic/view/print.h"

namespace qcci::idl {
namespace {

// The values of a response, as vex-traffic prints them.
std::string printed(const qmi_idl_service_object& service, const Message& message,
                    const std::vector<uint8_t>& c) {
  traffic::Decoded decoded;
  decoded.service = &service;
  decoded.message = &message;
  decoded.header.type = QMI_IDL_RESPONSE;
  decoded.c = c;
  std::string line;
  traffic::append_values(decoded, 32, &line);
  return line;
}

TEST(Codec, ResponsesDecodeFromLiteralOctets) {
  static const struct {
    const qmi_idl_service_object& service;
    uint16_t message;
    const char* wire;
    const char* described;
  } kRows[] = {
      {kNasService, NAS_NETWORK_SCAN,
       "02 04 00 00 00 00 00 "
       "10 19 00 02 00 01 00 01 00 59 03 4F 6E 65 E7 03 46 00 26 08 52 6F 61 6D 69 6E 67 73 "
       "11 0C 00 02 00 01 00 01 00 08 E7 03 46 00 0C 12 07 00 01 00 01 00 01 00 01 "
       "13 04 00 02 00 00 00",
       "resp={result=0 (success) error=0 (none)} networks=[{mcc=1 mnc=1 status=89 name=\"One\"} "
       "{mcc=999 mnc=70 "
       "status=38 name=\"Roamings\"}] rats=[{mcc=1 mnc=1 value=8 (LTE)} {mcc=999 mnc=70 value=12 "
       "(NR)}] "
       "mnc_digits=[{mcc=1 mnc=1 value=1}] scan_result=2 (radio link failure)"},
      {kSarService, SAR_RF_GET_STATE,
       "02 04 00 01 00 5E 00 10 04 00 07 00 00 00 11 04 00 01 00 00 00 12 04 00 02 00 00 00 "
       "13 04 00 03 00 00 00",
       "resp={result=1 (failure) error=94 (not supported)} state=7 extra_1=1 extra_2=2 extra_3=3"},
      // The second card has an application; of the extended cards the second has more states.
      {kUimService, UIM_CARD_STATUS,
       "02 04 00 00 00 00 00 "
       "10 28 00 00 01 FF FF FE FF FD FF 02 00 00 00 00 00 00 02 03 0A 09 05 01 "
       "02 07 04 05 06 08 05 A0 00 00 00 87 01 03 0B 0C 02 0D 0E "
       "13 15 00 01 34 12 02 FF FF 01 00 02 01 00 00 00 00 00 FF 00 00 00 07 00",
       "resp={result=0 (success) error=0 (none)} status={gw_primary=256 onex_primary=65535 gw"
       "_secondary=65534 onex_secondary=65533 cards=[{state=0 (absent) upin_state=0 (not init"
       "ialised) upin_retries=0 upuk_retries=0 error=0 (unknown) apps=[]} {state=2 (error) up"
       "in_state=3 (disabled) upin_retries=10 upuk_retries=9 error=5 (parity) apps=[{type=2 ("
       "USIM) state=7 (ready) perso_state=4 perso_feature=5 perso_retries=6 perso_unblock_ret"
       "ries=8 aid=[A0 00 00 00 87] upin_replaces_pin1=1 pin1_state=3 (disabled) pin1_retries"
       "=11 puk1_retries=12 pin2_state=2 (enabled, verified) pin2_retries=13 puk2_retries=14}"
       "]}]} extended={gw=[4660] onex=[65535 1] cards=[{state=1 (present) upin_state=0 (not i"
       "nitialised) upin_retries=0 upuk_retries=0 error=0 (unknown) apps=[]} {state=255 upin_"
       "state=0 (not initialised) upin_retries=0 upuk_retries=0 error=7 (technical) apps=[]}]"
       "}"},
      {kUimService, UIM_OPEN_LOGICAL_CHANNEL,
       "02 04 00 01 00 44 00 10 01 00 03 11 02 00 6A 81 12 03 00 02 6F 00 13 03 00 01 00 AB",
       "resp={result=1 (failure) error=68 (insufficient resources)} channel=3 sw1=106 sw2=129 "
       "select=[6F 00] long_select=[AB]"},
  };
  for (const auto& row : kRows) {
    const Message& message = *row.service.find(QMI_IDL_RESPONSE, row.message);
    std::vector<uint8_t> c(message.c_size);
    EXPECT_EQ(decode(message, desk::unhex(row.wire), c.data(), c.size()), CodecError::kOk);
    EXPECT_EQ(printed(row.service, message, c), row.described);
  }
}

TEST(Codec, EveryMessageSurvivesTheWireWhateverItHolds) {
  std::mt19937 numbers(20261121);
  desk::RandomMessage random([&](uint32_t n) { return static_cast<uint32_t>(numbers() % n); });
  for (const Message& message : desk::all_messages()) {
    for (int i = 0; i < 50; ++i) {
      const std::vector<uint8_t> c = random.fill(message);
      std::vector<uint8_t> wire(message.max_encoded);
      const Encoded out = encode(message, c.data(), c.size(), wire);
      std::vector<uint8_t> back(c.size(), 0xEE);
      ASSERT_EQ(out.error, CodecError::kOk) << desk::hex(c);
      ASSERT_EQ(decode(message, std::span(wire).first(out.length), back.data(), back.size()),
                CodecError::kOk)
          << desk::hex(c);
      ASSERT_EQ(back, c);
    }
  }
}

// A message with one of everything that can be wrong.
struct Inner {
  uint8_t a;
  int16_t b;
};
struct Sample {
  uint32_t number;
  uint32_t items_len;
  Inner items[2];
  uint8_t word_valid;
  uint16_t word;
  uint8_t name_valid;
  char name[4];
};
constexpr auto kInner = record(value(QCCI_MEMBER(Inner, a)), value(QCCI_MEMBER(Inner, b)));
constexpr auto kSample = message<Sample>(
    mandatory(0x01, narrow<1>(QCCI_MEMBER(Sample, number))),
    mandatory(0x02, counted(QCCI_MEMBER(Sample, items_len), QCCI_MEMBER(Sample, items), kInner)),
    optional(0x10, QCCI_MEMBER(Sample, word_valid), value(QCCI_MEMBER(Sample, word))),
    optional(0x11, QCCI_MEMBER(Sample, name_valid), text(QCCI_MEMBER(Sample, name))));

TEST(Codec, DecoderRefusesWhatIsNotTheMessage) {
  static const struct {
    const char* rule;
    const char* wire;
    CodecError error;
  } kRows[] = {
      {"all in order", "01 01 00 05 02 04 00 01 07 FE FF 10 02 00 34 12 11 04 00 03 61 62 63",
       CodecError::kOk},
      {"in any order of types", "02 01 00 00 01 01 00 05", CodecError::kOk},
      {"an unknown type from 0x10 up is skipped", "01 01 00 05 02 01 00 00 7F 02 00 AA BB",
       CodecError::kOk},
      {"a cut header", "01 01 00 05 02 01", CodecError::kCutHeader},
      {"a length beyond the message", "01 01 00 05 02 FF 00 00", CodecError::kBeyondMessage},
      {"a number cut short", "01 00 00 02 01 00 00", CodecError::kTooShort},
      {"a number too long", "01 02 00 05 00 02 01 00 00", CodecError::kTooLong},
      {"an array that ends before its count", "01 01 00 05 02 04 00 02 07 08 09",
       CodecError::kTooShort},
      {"an array that goes on after its count", "01 01 00 05 02 04 00 00 07 08 09",
       CodecError::kTooLong},
      {"a count without room", "01 01 00 05 02 0A 00 03 07 08 09 07 08 09 07 08 09",
       CodecError::kCountTooLarge},
      {"an array without its count", "01 01 00 05 02 00 00", CodecError::kTooShort},
      {"a text longer than its room", "01 01 00 05 02 01 00 00 11 05 00 04 61 62 63 64",
       CodecError::kCountTooLarge},
      {"a type twice", "01 01 00 05 01 01 00 06 02 01 00 00", CodecError::kDuplicate},
      {"a mandatory type missing", "01 01 00 05", CodecError::kMissingMandatory},
      {"nothing at all", "", CodecError::kMissingMandatory},
      {"an unknown type below 0x10", "01 01 00 05 02 01 00 00 03 00 00",
       CodecError::kUnknownMandatory},
  };
  for (const auto& row : kRows) {
    Sample sample;
    std::memset(&sample, 0xEE, sizeof sample);
    const auto wire = desk::unhex(row.wire);
    EXPECT_EQ(decode(kSample, wire, &sample, sizeof sample), row.error) << row.rule;
    EXPECT_NE(sample.name_valid, 0xEE) << row.rule << ": not zeroed first";
  }
  Sample sample;
  const auto wire = desk::unhex(kRows[0].wire);
  EXPECT_EQ(decode(kSample, wire, &sample, sizeof sample - 1), CodecError::kWrongStructSize);
  ASSERT_EQ(decode(kSample, wire, &sample, sizeof sample), CodecError::kOk);
  EXPECT_EQ(sample.items[0].b, -2);
  EXPECT_EQ(sample.word, 0x1234);
  EXPECT_STREQ(sample.name, "abc");
}

TEST(Codec, EncoderRefusesWhatTheWireCannotCarry) {
  const auto encode_into = [](const Sample& sample, size_t room) {
    std::vector<uint8_t> out(room);
    return encode(kSample, &sample, sizeof sample, out).error;
  };
  Sample sample{};
  EXPECT_EQ(encode_into(sample, 8), CodecError::kOk);
  EXPECT_EQ(encode_into(sample, 7), CodecError::kNoRoom);
  sample.number = 256;
  EXPECT_EQ(encode_into(sample, 100), CodecError::kValueTooLarge);
  sample.number = 255;
  sample.items_len = 3;
  EXPECT_EQ(encode_into(sample, 100), CodecError::kCountTooLarge);
  sample.items_len = 2;
  sample.name_valid = 1;
  std::memcpy(sample.name, "abcd", 4);  // not terminated
  EXPECT_EQ(encode_into(sample, 100), CodecError::kCountTooLarge);
}

TEST(Idl, ObjectsAreGivenForTheirOwnVersionOnly) {
  const auto get = vs_get_service_object_internal_v01;
  EXPECT_NE(get(1, 2, 6), nullptr);
  for (const auto& other : {get(2, 2, 6), get(1, 3, 6), get(1, 2, 5)}) EXPECT_EQ(other, nullptr);
}

}  // namespace
}  // namespace qcci::idl
