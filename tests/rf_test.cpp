// Command 3 against the simulated modem: what it sends, and the files that the modem keeps.

#include "platform/kelvor_utils.h"
#include "support/command.h"

namespace {

using desk::said;

constexpr const char kGpioFile[] = "efs/0/nv/item_files/modem/kelvor/rf_ant_port_config";
constexpr const char kTxFile[] = "efs/0/nv/item_files/modem/antenna/ant_tx_config";

struct Rf : desk::Desk {
  std::string rf(const std::string& words) {
    return desk::run_command(kelvor_test_rf_do, "3 " + words, &result_);
  }
  desk::VendorRequest last() {
    return desk::vendor_requests(passed(sim::FaultKind::kRequest)).back();
  }
  // The octets that a get prints.
  static std::string dumped(const std::string& output) {
    std::string octets;
    for (const std::string& message : desk::trace_messages(output)) {
      if (message.size() == 3 && message[0] == ' ') octets += message;
    }
    return octets;
  }
  int result_ = 0;
};

// The words from 1 to n, and their octets as u32.
std::pair<std::string, std::string> values(int n) {
  std::pair<std::string, std::string> made;
  for (int i = 1; i <= n; ++i) {
    made.first += " " + std::to_string(i);
    made.second += desk::hex({{static_cast<uint8_t>(i), 0, 0, 0}}) + " ";
  }
  return made;
}

TEST_F(Rf, GpioValuesAreSentUpToFiftyAndCountedBeyond) {
  start_modem();
  for (const int given : {0, 1, 49, 50, 60}) {
    const int sent = std::min(given, 50);
    const std::string output = rf("0" + values(given).first);
    EXPECT_EQ(result_, 0);
    const std::string octets = values(sent).second;
    const auto request = last();
    EXPECT_EQ(request.id, 4u);
    ASSERT_EQ(request.data.size(), 512u);
    EXPECT_EQ(request.begins(12 + 4 * sent) + " ", "00 00 00 00 00 00 00 00 " +
                                                       desk::hex({{static_cast<uint8_t>(given)}}) +
                                                       " 00 00 00 " + octets);
    const std::span rest = std::span(request.data).subspan(12 + 4 * sent);
    EXPECT_EQ(std::count(rest.begin(), rest.end(), 0), static_cast<int>(rest.size())) << given;
    if (given > 0) {
      const std::string at = std::to_string(sent - 1);
      EXPECT_TRUE(
          said(output, "kelvor_gpio_test_set, gpio_v[" + at + "]: " + std::to_string(sent)));
    }
    EXPECT_FALSE(said(output, "kelvor_gpio_test_set, gpio_v[50]: 51"));
    EXPECT_EQ(desk::hex(directory_.file(kGpioFile)) + " ",
              desk::hex({{static_cast<uint8_t>(sent), 0, 0, 0}}) + " " + octets);
  }
  rf("0 -2 0x7 junk 2147483647");
  EXPECT_EQ(desk::hex(directory_.file(kGpioFile)),
            "04 00 00 00 FE FF FF FF 00 00 00 00 00 00 00 00 FF FF FF 7F");
}

TEST_F(Rf, BandMasksAreDecimalHexadecimalOrOctal) {
  start_modem();
  const std::pair<const char*, uint64_t> rows[] = {
      {"1099511627776", 1ull << 40},
      {"0x10000000000", 1ull << 40},
      {"020000000000000", 1ull << 40},
      {"0", 0},
      {"0X1f", 31},
      {"9223372036854775808", 1ull << 63},
      {"0x8000000000000000", 1ull << 63},
      {"18446744073709551615", ~0ull},
      {"0xFFFFFFFFFFFFFFFF", ~0ull},
      {"01777777777777777777777", ~0ull},
      {"08", 0},
      {"b41", 0},
  };
  for (const auto& [word, mask] : rows) {
    const std::string output = rf(std::string("3 1 4 ") + word);
    EXPECT_EQ(desk::messages_of("kelvor_vex_test_rf.cpp", output),
              (std::vector<std::string>{"kelvor_rf_tx_test_set, argc(6)", " v_ant(1)", " v_sys(4)",
                                        " v_band_list(" + std::to_string(mask) + ")"}));
    std::vector<uint8_t> octets(8);
    for (int i = 0; i < 8; ++i) octets[i] = static_cast<uint8_t>(mask >> 8 * i);
    const std::string record = "01 00 00 00 04 00 00 00 " + desk::hex(octets);
    EXPECT_EQ(last().begins(24), "01 00 00 00 00 00 00 00 " + record) << word;
    EXPECT_EQ(last().data.size(), 512u);
    EXPECT_EQ(desk::hex(directory_.file(kTxFile)), record) << word;
  }
}

TEST_F(Rf, AConfigurationIsShownAsOctetsAndClosedByDeletingItsFile) {
  start_modem();
  const struct {
    const char *set, *get, *closed, *file, *octets;
    uint8_t path_length;
    std::string name;
  } rows[] = {
      {"0 7 9", "1", "2", kGpioFile, " 02 00 00 00 07 00 00 00 09 00 00 00", 47,
       "kelvor_gpio_test_"},
      {"3 0 1 0x12", "4", "5", kTxFile, " 00 00 00 00 01 00 00 00 12 00 00 00 00 00 00 00", 43,
       "kelvor_rf_tx_test_"},
  };
  for (const auto& row : rows) {
    rf(row.set);
    const std::string output = rf(row.get);
    EXPECT_TRUE(said(output, row.name + "get")) << output;
    EXPECT_EQ(dumped(output), row.octets);
    EXPECT_TRUE(said(output, "data len(" + std::to_string(std::strlen(row.octets) / 3) + ")"));
    EXPECT_EQ(last().data[4], row.path_length);
    EXPECT_TRUE(said(rf(row.closed), row.name + "closed"));
    EXPECT_EQ(last().data[4], row.path_length);
    EXPECT_FALSE(directory_.has(row.file));
    for (const char* again : {row.get, row.closed}) {
      const std::string failed = rf(again);
      EXPECT_TRUE(said(failed, "kelvor_extend_qmi_send_sync fail, REQUEST_ID_EFS")) << failed;
      EXPECT_TRUE(said(failed, "note: Error happen! error_code(-2)")) << failed;
    }
  }
  directory_.write(kTxFile, std::string(1000, 'x'));
  EXPECT_TRUE(said(rf("4"), "data len(1000)")) << "the record is the modem's";
}

TEST_F(Rf, ASetThatFailsIsTold) {
  start_modem("[[fault]]\nservice = \"vendor\"\naction = \"vendor-error\"\nresult = 7\n");
  for (const char* words : {"0 1", "3 1 4 1"}) {
    const std::string output = rf(words);
    EXPECT_TRUE(said(output, "kelvor_extend_qmi_send_sync fail, REQUEST_ID_COMMON")) << output;
    EXPECT_TRUE(said(output, "note: Error happen! error_code(-3)")) << output;
  }
}

TEST_F(Rf, ARequestThatIsShorterThanItSaysSetsNothing) {
  start_modem();
  const char* const rows[] = {"4 0", "4 0 0 0 0 0 0 0 0 1 0 0 0 9 9 9",
                              "4 1 0 0 0 0 0 0 0 1 1 1 1 2 2 2 2 3 3 3 3 4 4 4"};
  for (const char* words : rows) {
    const std::string output =
        desk::run_command(kelvor_test_qmi_send_data_do, "6 " + std::string(words));
    EXPECT_TRUE(dumped(output).ends_with(" 00 00 00 EA FF FF FF")) << output;
  }
  EXPECT_FALSE(directory_.has(kGpioFile));
  EXPECT_FALSE(directory_.has(kTxFile));
}

TEST_F(Rf, WrongWordsGetTheirNoteAndTheSectionAndNothingIsSent) {
  kelvor_hal_set_shell_print_mask(1 | 8);  // errors and usage
  start_modem();
  const std::string section = desk::output_of([] { kelvor_test_rf_show_help(3); });
  constexpr const char kOfHandler[] = "note: Error happen! error_code(268431370)";
  const struct {
    const char *words, *note, *error;
  } rows[] = {
      {"", "note: Too few parameters, Pls refer to the following cmd:", nullptr},
      {"6", "note: the second parameters is invalid, Pls refer to the following cmd:", nullptr},
      {"-1", "note: the second parameters is invalid, Pls refer to the following cmd:", nullptr},
      {"1 1", "note: Cmd error, should be: vex 3 1 , Pls refer to the following cmd:", kOfHandler},
      {"2 1", "note: Cmd error, should be: vex 3 2 , Pls refer to the following cmd:", kOfHandler},
      {"4 1", "note: Cmd error, should be: vex 3 4 , Pls refer to the following cmd:", kOfHandler},
      {"5 1", "note: Cmd error, should be: vex 3 5 , Pls refer to the following cmd:", kOfHandler},
      {"3 1 4", "note: need 5 inputs, Pls refer to the following cmd:", kOfHandler},
      {"3 1 4 1 1", "note: need 5 inputs, Pls refer to the following cmd:", kOfHandler},
  };
  for (const auto& row : rows) {
    const std::string output = rf(row.words);
    EXPECT_TRUE(said(output, row.note)) << output;
    EXPECT_NE(output.find(section), std::string::npos) << row.words;
    EXPECT_EQ(row.error != nullptr, said(output, kOfHandler)) << output;
  }
  EXPECT_EQ(requests(), 0u);
}

}  // namespace
