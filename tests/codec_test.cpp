#include "qcci/idl/codec.h"

#include <gtest/gtest.h>

#include "platform/idl/nas.h"
#include "platform/idl/pdc.h"
#include "platform/idl/sar.h"
#include "platform/idl/uim.h"
#include "platform/idl/vendor.h"
#include "platform/idl/vs.h"
#include "qcci/services/services.h"
#include "support/desk.h"
#include "support/random_message.h"

namespace qcci::idl {
namespace {

std::string encoded(const qmi_idl_service_object& service, uint16_t message, const void* c,
                    size_t size) {
  const Message* row = service.find(QMI_IDL_REQUEST, message);
  std::vector<uint8_t> out(row->max_encoded);
  const Encoded result = encode(*row, c, size, out);
  EXPECT_EQ(result.error, CodecError::kOk);
  return desk::hex(std::span(out).first(result.length));
}

TEST(Codec, RequestsAreTheGoldenOctets) {
  kelvor_vendor_msg vendor{};
  vendor.id = 0x04030201;
  vendor.data_len = 512;
  vendor.data_valid = 1;
  vendor.data[0] = 0xAA;
  vendor.data[511] = 0xBB;
  const std::string wire = encoded(kVendorService, 0x0002, &vendor, sizeof vendor);
  EXPECT_EQ(wire.size(), 529u * 3 - 1);
  EXPECT_EQ(wire.substr(0, 18 * 3 - 1), "01 04 00 01 02 03 04 02 04 00 00 02 00 00 10 00 02 AA");
  EXPECT_TRUE(wire.ends_with("00 BB"));

  nas_indication_register_req reg{};
  reinterpret_cast<uint8_t*>(&reg)[4] = 1;
  EXPECT_EQ(encoded(kNasService, NAS_INDICATION_REGISTER, &reg, sizeof reg), "13 01 00 00");
  const nas_bind_subscription_req bind{1};
  EXPECT_EQ(encoded(kNasService, NAS_BIND_SUBSCRIPTION, &bind, sizeof bind), "01 01 00 01");
  const nas_network_scan_req scan{};
  EXPECT_EQ(encoded(kNasService, NAS_NETWORK_SCAN, &scan, sizeof scan), "");
  const nas_incremental_network_scan_req incremental{};
  EXPECT_EQ(encoded(kNasService, NAS_INCREMENTAL_NETWORK_SCAN, &incremental, sizeof incremental),
            "");
  EXPECT_EQ(encoded(kSarService, SAR_RF_GET_STATE, nullptr, 0), "");
}

TEST(Codec, ResponsesDecodeFromLiteralOctets) {
  const auto wire = desk::unhex(
      "02 04 00 00 00 00 00 "
      "10 19 00 02 00 01 00 01 00 59 03 4F 6E 65 E7 03 46 00 26 08 52 6F 61 6D 69 6E 67 73 "
      "11 0C 00 02 00 01 00 01 00 08 E7 03 46 00 0C "
      "12 07 00 01 00 01 00 01 00 01 "
      "13 04 00 02 00 00 00");
  static nas_network_scan_resp resp;
  const Message& row = *kNasService.find(QMI_IDL_RESPONSE, NAS_NETWORK_SCAN);
  ASSERT_EQ(decode(row, wire, &resp, sizeof resp), CodecError::kOk);
  ASSERT_EQ(resp.networks_len, 2u);
  EXPECT_STREQ(resp.networks[0].name, "One");
  EXPECT_EQ(resp.networks[0].status, 0x59);
  EXPECT_EQ(resp.networks[1].mcc, 999);
  EXPECT_EQ(resp.networks[1].mnc, 70);
  EXPECT_STREQ(resp.networks[1].name, "Roamings");
  ASSERT_EQ(resp.rats_len, 2u);
  EXPECT_EQ(resp.rats[1].value, 12);
  EXPECT_EQ(resp.mnc_digits[0].value, 1);
  EXPECT_EQ(resp.scan_result, 2u);

  sar_rf_get_state_resp sar;
  const auto failed = desk::unhex(
      "02 04 00 01 00 5E 00 10 04 00 07 00 00 00 11 04 00 01 00 00 00 12 04 00 02 00 00 00 "
      "13 04 00 03 00 00 00");
  ASSERT_EQ(decode(*kSarService.find(QMI_IDL_RESPONSE, SAR_RF_GET_STATE), failed, &sar, sizeof sar),
            CodecError::kOk);
  EXPECT_EQ(sar.resp.result, 1u);
  EXPECT_EQ(sar.resp.error, 94u);
  EXPECT_EQ(sar.state, 7u);
  EXPECT_EQ(sar.extra_3, 3u);
}

TEST(Codec, CardRequestsAreTheGoldenOctets) {
  const uint8_t kIsdR[] = {0xA0, 0x00, 0x00, 0x05, 0x59, 0x10, 0x10, 0xFF,
                           0xFF, 0xFF, 0xFF, 0x89, 0x00, 0x00, 0x01, 0x00};
  const uim_card_status_req status{1, 1};
  EXPECT_EQ(encoded(kUimService, UIM_CARD_STATUS, &status, sizeof status), "10 01 00 01");
  const uim_slot_req slot{2};
  EXPECT_EQ(encoded(kUimService, UIM_POWER_DOWN, &slot, sizeof slot), "01 01 00 02");
  EXPECT_EQ(encoded(kUimService, UIM_GET_EID, &slot, sizeof slot), "01 01 00 02");
  const uim_power_up_req up{2, 1, 1, 1, 0};
  EXPECT_EQ(encoded(kUimService, UIM_POWER_UP, &up, sizeof up),
            "01 01 00 02 10 01 00 01 11 01 00 00");
  uim_open_logical_channel_req open{2, 1, sizeof kIsdR, {}, 1, 4};
  std::memcpy(open.aid, kIsdR, sizeof kIsdR);
  EXPECT_EQ(encoded(kUimService, UIM_OPEN_LOGICAL_CHANNEL, &open, sizeof open),
            "01 01 00 02 10 11 00 10 A0 00 00 05 59 10 10 FF FF FF FF 89 00 00 01 00 11 01 00 04");
  const uim_logical_channel_req close{2, 0, 0, {}, 1, 3, 0, 0, 1, 0};
  EXPECT_EQ(encoded(kUimService, UIM_LOGICAL_CHANNEL, &close, sizeof close),
            "01 01 00 02 11 01 00 03 13 01 00 00");
  uim_send_apdu_req apdu{2, 2, {0x80, 0xCA}, 1, 3, 1, 1, 0, {}};
  EXPECT_EQ(encoded(kUimService, UIM_SEND_APDU, &apdu, sizeof apdu),
            "01 01 00 02 02 04 00 02 00 80 CA 10 01 00 03 11 01 00 01");
}

TEST(Codec, CardResponsesDecodeFromLiteralOctets) {
  // The second card has an application; of the extended cards the second is one of more states.
  const auto wire = desk::unhex(
      "02 04 00 00 00 00 00 "
      "10 28 00 00 01 FF FF FE FF FD FF 02 00 00 00 00 00 00 02 03 0A 09 05 01 "
      "02 07 04 05 06 08 05 A0 00 00 00 87 01 03 0B 0C 02 0D 0E "
      "13 15 00 01 34 12 02 FF FF 01 00 02 01 00 00 00 00 00 FF 00 00 00 07 00");
  static uim_card_status_resp status;
  const Message& row = *kUimService.find(QMI_IDL_RESPONSE, UIM_CARD_STATUS);
  ASSERT_EQ(decode(row, wire, &status, sizeof status), CodecError::kOk);
  EXPECT_EQ(status.status.gw_primary, 0x0100);
  EXPECT_EQ(status.status.onex_secondary, 0xFFFD);
  ASSERT_EQ(status.status.cards_len, 2u);
  const uim_card& card = status.status.cards[1];
  EXPECT_EQ(card.state, 2u);
  EXPECT_EQ(card.upuk_retries, 9);
  EXPECT_EQ(card.error, 5u);
  ASSERT_EQ(card.apps_len, 1u);
  EXPECT_EQ(card.apps[0].type, 2u);
  EXPECT_EQ(card.apps[0].perso_unblock_retries, 8);
  EXPECT_EQ(card.apps[0].aid_len, 5u);
  EXPECT_EQ(card.apps[0].aid[4], 0x87);
  EXPECT_EQ(card.apps[0].upin_replaces_pin1, 1u);
  EXPECT_EQ(card.apps[0].puk1_retries, 12);
  EXPECT_EQ(card.apps[0].puk2_retries, 14);
  EXPECT_EQ(status.extended.gw[0], 0x1234);
  EXPECT_EQ(status.extended.onex_len, 2u);
  ASSERT_EQ(status.extended.cards_len, 2u);
  EXPECT_EQ(status.extended.cards[1].state, 0xFFu);
  EXPECT_EQ(status.extended.cards[1].error, 7u);

  uim_logical_channel_resp opened;
  const auto refused = desk::unhex(
      "02 04 00 01 00 44 00 10 01 00 03 11 02 00 6A 81 12 03 00 02 6F 00 13 03 00 01 00 AB");
  ASSERT_EQ(decode(*kUimService.find(QMI_IDL_RESPONSE, UIM_OPEN_LOGICAL_CHANNEL), refused, &opened,
                   sizeof opened),
            CodecError::kOk);
  EXPECT_EQ(opened.resp.error, 68u);
  EXPECT_EQ(opened.channel, 3);
  EXPECT_EQ(opened.sw2, 0x81);
  EXPECT_EQ(opened.select_len, 2u);
  EXPECT_EQ(opened.long_select[0], 0xAB);
}

TEST(Codec, EveryMessageSurvivesTheWireWhateverItHolds) {
  desk::RandomMessage random(20261121);
  for (const Message& message : desk::all_messages()) {
    for (int i = 0; i < 50; ++i) {
      const std::vector<uint8_t> c = random.fill(message);
      std::vector<uint8_t> wire(message.max_encoded);
      const Encoded out = encode(message, c.data(), c.size(), wire);
      std::vector<uint8_t> back(c.size(), 0xEE);
      ASSERT_EQ(out.error, CodecError::kOk) << describe(message, c.data());
      ASSERT_EQ(decode(message, std::span(wire).first(out.length), back.data(), back.size()),
                CodecError::kOk)
          << describe(message, c.data());
      ASSERT_EQ(back, c);
    }
  }
}

// A message with one of everything that can be wrong.
struct Inner {
  uint8_t a;
  uint16_t b;
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
      {"all in order", "01 01 00 05 02 04 00 01 07 08 09 10 02 00 34 12 11 04 00 03 61 62 63",
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
  EXPECT_EQ(sample.items[0].b, 0x0908);
  EXPECT_EQ(describe(kSample, &sample), "number=5 items=[{a=7 b=2312}] word=4660 name=\"abc\"");
}

TEST(Codec, AnOverfullArrayKeepsItsRoomAndTheSendersCount) {
  struct Few {
    uint32_t numbers_len;
    uint16_t numbers[2];
    uint16_t behind;
  };
  static constexpr auto kFew = message<Few>(
      mandatory(0x01, truncating(QCCI_MEMBER(Few, numbers_len), QCCI_MEMBER(Few, numbers)),
                value(QCCI_MEMBER(Few, behind))));
  static const struct {
    const char* wire;
    CodecError error;
    const char* described;
  } kRows[] = {
      {"01 05 00 01 01 00 FF EE", CodecError::kOk, "numbers=[1] behind=61183"},
      {"01 07 00 02 01 00 02 00 FF EE", CodecError::kOk, "numbers=[1 2] behind=61183"},
      {"01 09 00 03 01 00 02 00 03 00 FF EE", CodecError::kOk,
       "numbers=[1 2 ... 3 in all] behind=61183"},
      {"01 08 00 03 01 00 02 00 03 FF EE", CodecError::kTooShort, nullptr},
      {"01 05 00 FF 01 00 02 00", CodecError::kTooShort, nullptr},
  };
  for (const auto& row : kRows) {
    Few few;
    EXPECT_EQ(decode(kFew, desk::unhex(row.wire), &few, sizeof few), row.error) << row.wire;
    if (row.described != nullptr) {
      EXPECT_EQ(describe(kFew, &few), row.described);
    }
  }
  const Few lied{3, {1, 2}, 4};
  std::vector<uint8_t> out(100);
  EXPECT_EQ(encode(kFew, &lied, sizeof lied, out).error, CodecError::kCountTooLarge);
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
  static const struct {
    qmi_idl_service_object_type (*get)(int32_t, int32_t, int32_t);
    int32_t major, minor, tool;
  } kRows[] = {
      {kelvor_extend_get_service_object_internal_v01, 1, 1, 6},
      {nas_get_service_object_internal_v01, 1, 398, 6},
      {sar_get_service_object_internal_v01, 1, 15, 6},
      {vs_get_service_object_internal_v01, 1, 2, 6},
      {uim_get_service_object_internal_v01, 1, 109, 6},
      {pdc_get_service_object_internal_v01, 1, 16, 6},
  };
  for (const auto& row : kRows) {
    EXPECT_NE(row.get(row.major, row.minor, row.tool), nullptr);
    EXPECT_EQ(row.get(row.major + 1, row.minor, row.tool), nullptr);
    EXPECT_EQ(row.get(row.major, row.minor + 1, row.tool), nullptr);
    EXPECT_EQ(row.get(row.major, row.minor, row.tool - 1), nullptr);
  }
}

}  // namespace
}  // namespace qcci::idl
