// NV items and EFS files through the library, against the simulated modem.

#include "sim/services/nvefs.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/idl/vendor_payload.h"
#include "qmi/kelvor_extend_nvefs.h"
#include "support/desk.h"

namespace {

using desk::output_of;
using desk::said;
using Octets = std::vector<uint8_t>;

Octets pattern(size_t n) {
  Octets octets(n);
  for (size_t i = 0; i < n; ++i) octets[i] = static_cast<uint8_t>(i * 7 + i / 424);
  return octets;
}

std::string text(const Octets& octets) { return {octets.begin(), octets.end()}; }

struct NvEfs : desk::Desk {
  static int32_t read(const std::string& path, Octets* out, uint32_t room = 200000) {
    out->assign(room + 1, 0xEE);
    const int32_t result =
        kelvor_efs_read(0, path.c_str(), static_cast<uint32_t>(path.size()), out->data(), &room);
    out->resize(room);
    return result;
  }
  static int32_t write(const std::string& path, const Octets& in) {
    return kelvor_efs_write(0, path.c_str(), static_cast<uint32_t>(path.size()), in.data(),
                            static_cast<uint32_t>(in.size()));
  }
};

const char* const kPath = "/nv/item_files/x";

TEST_F(NvEfs, NvArgumentsAreCheckedInOrderAndNothingIsSentForBadOnes) {
  start_modem();
  uint8_t buf[500] = {};
  uint32_t room = sizeof buf;
  uint32_t none = 0;
  const struct {
    std::function<int32_t()> call;
    int32_t result;
    const char* message;
  } rows[] = {
      {[&] { return kelvor_nv_read(2, 551, buf, &room); }, -104, "sub invalid"},
      {[&] { return kelvor_nv_read(3, 550, buf, &room); }, -104, "sub invalid"},
      {[&] { return kelvor_nv_read(0, 7233, buf, &room); }, -109, "nv_id is out range(7232)"},
      {[&] { return kelvor_nv_read(0, 1, nullptr, &room); }, -107, "buf is null"},
      {[&] { return kelvor_nv_read(0, 1, buf, nullptr); }, -107, "p_buf_len is null"},
      {[&] { return kelvor_nv_read(0, 1, buf, &none); }, -108, "buf_len is invalid"},
      {[&] { return kelvor_nv_write_ex(2, 550, buf, 1); }, -104, "sub invalid"},
      {[&] { return kelvor_nv_write_ex(0, 70000, buf, 1); }, -109, "nv_id is out range(7232)"},
      {[&] { return kelvor_nv_write_ex(0, 1, nullptr, 1); }, -107, "buf is null"},
      {[&] { return kelvor_nv_write_ex(0, 1, buf, 0); }, -108, "buf_len is invalid"},
      {[&] { return kelvor_nv_write_ex(0, 1, buf, 425); }, -108, "buf_len is invalid"},
      {[&] { return kelvor_nv_delete(2, 550); }, -104, "sub invalid"},
      {[&] { return kelvor_nv_delete(0, 7233); }, -109, "nv_id is out range(7232)"},
      {[&] { return kelvor_efs_read(0, nullptr, 1, buf, &room); }, -107, "efs_path is null"},
      {[&] { return kelvor_efs_read(0, "/x", 0, buf, &room); }, -108, "len invalid"},
      {[&] { return kelvor_efs_read(0, "/x", 2, nullptr, &room); }, -108, "len invalid"},
      {[&] { return kelvor_efs_read(0, "/x", 2, buf, nullptr); }, -108, "len invalid"},
      {[&] { return kelvor_efs_read(256, "/x", 2, buf, &room); }, -104, "sub invalid"},
      {[&] { return kelvor_efs_write(0, "/x", 72, buf, 1); }, -108, "len invalid"},
      {[&] { return kelvor_efs_read(0, "/x", 72, buf, &room); }, -108, "len invalid"},
      {[&] { return kelvor_efs_write(0, "/x", 2, nullptr, 1); }, -108, "len invalid"},
      {[&] { return kelvor_efs_delete(0, nullptr, 1); }, -107, "efs_path is null"},
      {[&] { return kelvor_efs_delete(0, "/x", 256); }, -108, "len invalid"},
      {[&] { return kelvor_efs_delete(0, "/x", 508); }, -108, "len invalid"},
  };
  for (const auto& row : rows) {
    const std::string output = output_of([&] { EXPECT_EQ(row.call(), row.result); });
    EXPECT_TRUE(said(output, row.message)) << row.message << "\n" << output;
    EXPECT_TRUE(said(output, "function entry ------------->"));
    const std::string exit = "function exit, ret = " + std::to_string(row.result);
    EXPECT_TRUE(said(output, exit + " <-------------")) << output;
  }
  EXPECT_EQ(requests(), 0u);
}

TEST_F(NvEfs, NvItemsKeepTheirLengthUpTo424) {
  start_modem();
  const Octets item = pattern(424);
  ASSERT_EQ(kelvor_nv_write_ex(0, 9, item.data(), 424), 0);
  uint8_t buf[500];
  uint32_t room = sizeof buf;
  ASSERT_EQ(kelvor_nv_read(0, 9, buf, &room), 0);
  EXPECT_EQ(Octets(buf, buf + room), item);
  std::memset(buf, 0xEE, sizeof buf);
  room = 10;
  ASSERT_EQ(kelvor_nv_read(0, 9, buf, &room), 0) << "cut to the room";
  EXPECT_EQ(room, 10u);
  EXPECT_EQ(buf[9], item[9]);
  EXPECT_EQ(buf[10], 0xEE);
  room = sizeof buf;
  ASSERT_EQ(kelvor_nv_read(2, 550, buf, &room), 0) << "the customer's case";
  EXPECT_EQ(room, 9u);
}

TEST_F(NvEfs, ItemsThatAreNotThereFailWithTheModemsOwnResult) {
  start_modem();
  uint8_t buf[8];
  uint32_t room = sizeof buf;
  EXPECT_SAYS("qmi response fail", EXPECT_EQ(kelvor_nv_read(0, 11, buf, &room), -2));
  EXPECT_EQ(kelvor_nv_delete(0, 11), -2);
  EXPECT_EQ(kelvor_efs_delete(0, "/none", 5), -2);
  Octets file;
  EXPECT_EQ(read("/none", &file), -2);
  EXPECT_TRUE(file.empty());
  EXPECT_EQ(read("/none/../../../properties", &file), -22);
  EXPECT_EQ(write("/", pattern(3)), -22) << "a path without a name";
  EXPECT_EQ(write("/x", pattern(3)), 0) << "and the subscription's folder is still one";
}

TEST_F(NvEfs, FilesOfEveryLengthComeBackAsTheyWent) {
  start_modem();
  for (const size_t length : {1, 423, 424, 425, 848, 299 * 424}) {
    const size_t before = requests();
    const Octets data = pattern(length);
    ASSERT_EQ(write(kPath, data), 0) << length;
    EXPECT_EQ(directory_.file("efs/0/nv/item_files/x"), text(data)) << length;
    Octets back;
    ASSERT_EQ(read(kPath, &back), 0) << length;
    EXPECT_EQ(back, data) << length;
    EXPECT_EQ(requests() - before, 2 * ((length + 423) / 424)) << length;
  }
  ASSERT_EQ(kelvor_efs_delete(0, kPath, 16), 0);
  EXPECT_FALSE(directory_.has("efs/0/nv/item_files/x"));
}

TEST_F(NvEfs, AnEmptyFileIsReadAsNothingAndNothingIsWrittenAsNothing) {
  start_modem();
  directory_.write("efs/0/empty", "");
  Octets back;
  EXPECT_SAYS("abort, data_len_send <= 0", EXPECT_EQ(read("/empty", &back), 0));
  EXPECT_TRUE(back.empty());
  directory_.write("efs/0/old", "old");
  const uint8_t none = 0;
  EXPECT_EQ(kelvor_efs_write(0, "/old", 4, &none, 0), 0);
  EXPECT_EQ(directory_.file("efs/0/old"), "old");
  EXPECT_EQ(requests(), 1u);
}

TEST_F(NvEfs, OneOctetTooManyStopsAfter299Exchanges) {
  start_modem();
  directory_.write("efs/0/nv/item_files/x", "old");
  EXPECT_EQ(write(kPath, pattern(299 * 424 + 1)), -108);
  EXPECT_EQ(requests(), 299u);
  EXPECT_EQ(directory_.file("efs/0/nv/item_files/x"), "old") << "a part is not a file";

  const Octets longer = pattern(299 * 424 + 1);
  directory_.write("efs/0/long", text(longer));
  Octets back;
  EXPECT_EQ(read("/long", &back), -108);
  EXPECT_EQ(requests(), 2 * 299u);
  EXPECT_EQ(back, Octets(longer.begin(), longer.end() - 1));
}

TEST_F(NvEfs, AFileThatDoesNotFitTheRoomFails) {
  start_modem();
  directory_.write("efs/0/f", std::string(600, 'f'));
  Octets back;
  static const struct {
    uint32_t room, got;
    const char* message;
  } kRows[] = {
      {0, 0, "abort, buf_len <= data_len_recv"},
      {423, 0, "errro, abort, buf_len <= req.data_len_cur"},
      {424, 424, "abort, buf_len <= data_len_recv"},
      {599, 424, "errro, abort, buf_len <= req.data_len_cur"},
  };
  for (const auto& row : kRows) {
    EXPECT_SAYS(row.message, EXPECT_EQ(read("/f", &back, row.room), -108));
    EXPECT_EQ(back.size(), row.got) << row.room;
  }
  EXPECT_EQ(read("/f", &back, 600), 0);
}

TEST_F(NvEfs, PathsGoUpToTheirLengthOrTheirFirstZero) {
  start_modem();
  const std::string longest = "/" + std::string(70, 'p');
  ASSERT_EQ(write(longest, pattern(3)), 0);
  EXPECT_TRUE(directory_.has("efs/0" + longest));
  const uint8_t one = 1;
  ASSERT_EQ(kelvor_efs_write(1, "/a/b\0junk", 9, &one, 1), 0);
  EXPECT_TRUE(directory_.has("efs/1/a/b"));
  ASSERT_EQ(kelvor_efs_write(1, "/abcdef", 3, &one, 1), 0);
  EXPECT_TRUE(directory_.has("efs/1/ab"));
  const std::string deep = "/" + std::string(126, 'd') + "/" + std::string(127, 'e');
  directory_.write("efs/0" + deep, "x");
  EXPECT_EQ(kelvor_efs_delete(0, deep.c_str(), 255), 0);
  EXPECT_FALSE(directory_.has("efs/0" + deep));
}

TEST_F(NvEfs, AModemThatLiesIsNotBelieved) {
  // Within a response: 24 octets to the payload; in it the chunk's length at 0, the whole length at
  // 4, the result at 16.
  static const struct {
    const char* rule;
    const char* change;
    int32_t nv_read, efs_read;
    const char* next = nullptr;  // of the exchange that a read which goes on asks for
  } kRows[] = {
      {"a whole length beyond what came", "at = 28\noctets = [255, 1]", -108, -22, ""},
      {"and nothing of the rest", "at = 28\noctets = [255, 1]", -108, -108,
       "at = 28\noctets = [255, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0]"},
      {"a whole length of nothing", "at = 28\noctets = [0, 0, 0, 0]", -108, 0},
      {"a chunk beyond what came", "at = 24\noctets = [4]", 0, -108},
      {"a chunk beyond any", "at = 24\noctets = [255, 255, 255, 127]", 0, -108},
      {"a negative chunk", "at = 24\noctets = [0, 0, 0, 128]", 0, -108},
      {"a result", "at = 40\noctets = [9, 0, 0, 0]", 9, 9},
      {"a message of nothing", "at = 17\noctets = [0, 0, 0, 0]", -108, -108},
  };
  std::string toml;
  int nth = 0;
  for (const auto& row : kRows) {
    for (const char* change : {row.change, row.change, row.next}) {
      if (change == nullptr || (++nth, *change == '\0')) continue;
      toml += "[[fault]]\nservice = \"vendor\"\naction = \"change\"\nnth = " + std::to_string(nth) +
              "\n" + change + "\n";
    }
  }
  start_modem(toml);
  directory_.write("nv/0/9", "abc");
  directory_.write("efs/0/f", "abc");
  for (const auto& row : kRows) {
    uint8_t buf[500];
    uint32_t room = sizeof buf;
    EXPECT_EQ(kelvor_nv_read(0, 9, buf, &room), row.nv_read) << row.rule;
    Octets back;
    EXPECT_EQ(read("/f", &back, 500), row.efs_read) << row.rule;
    EXPECT_LE(back.size(), 3u) << row.rule;
  }
}

// Every reply is one octet short of the end of its result.
TEST_F(NvEfs, AReplyWithoutItsResultIsNoSuccess) {
  start_modem("[[fault]]\nservice = \"vendor\"\naction = \"change\"\nat = 17\noctets = [19, 0]\n");
  const uint8_t one = 1;
  const std::function<int32_t()> calls[] = {
      [&] { return kelvor_nv_write_ex(0, 9, &one, 1); },
      [&] { return kelvor_nv_delete(0, 9); },
      [&] { return kelvor_nv_delete(0, 9); },  // ends in 255: a result of -2, in part
      [&] { return write("/f", {1}); },
      [&] { return kelvor_efs_delete(0, "/f", 2); },
  };
  for (const auto& call : calls) {
    EXPECT_SAYS("qmi response fail", EXPECT_EQ(call(), -108) << &call - calls);
  }
}

TEST_F(NvEfs, AClientThatBeginsMoreTransfersThanTheModemKeepsLosesItsOldest) {
  using Paths = std::vector<std::string>;
  const Paths eight = {"/0", "/1", "/2", "/3", "/4", "/5", "/6", "/7"};
  const Paths nine = {"/0", "/1", "/2", "/3", "/4", "/5", "/6", "/7", "/8"};
  const struct {
    const char* rule;
    uint8_t operation;
    size_t octets;  // of each file
    Paths begun;
    const char* continued;
    int result;
  } rows[] = {
      {"two spellings of a file", KELVOR_NVEFS_EFS_READ, 1000, {"/d//0"}, "d/0/", 0},
      {"eight reads", KELVOR_NVEFS_EFS_READ, 1000, eight, "/0", 0},
      {"nine reads", KELVOR_NVEFS_EFS_READ, 1000, nine, "/0", -EINVAL},
      {"of which the second goes on", KELVOR_NVEFS_EFS_READ, 1000, {}, "/1", 0},
      {"one file read nine times", KELVOR_NVEFS_EFS_READ, 1000, Paths(9, "/0"), "/2", 0},
      {"two large files", KELVOR_NVEFS_EFS_READ, 16 << 20, {"/0", "/1"}, "/0", 0},
      {"a third", KELVOR_NVEFS_EFS_READ, 16 << 20, {"/2"}, "/0", -EINVAL},
      {"eight writes", KELVOR_NVEFS_EFS_WRITE, 0, eight, "/0", 0},
      {"nine writes", KELVOR_NVEFS_EFS_WRITE, 0, nine, "/0", -EINVAL},
  };
  static constexpr bool kLoses = false;
  sim::NvEfs modem(sim::Storage(directory_.phone(), kLoses));
  const auto chunk = [&](const auto& row, const std::string& path, uint32_t done) {
    kelvor_nvefs_req request{};
    request.operation = row.operation;
    request.path_len = static_cast<uint8_t>(path.copy(request.path, sizeof request.path));
    request.data_len = 1000;
    request.data_done = done;
    request.data_len_cur = 400;
    uint8_t octets[512];
    std::memcpy(octets, &request, sizeof octets);
    kelvor_nvefs_rsp reply;
    modem.handle({1, 7}, octets, &reply);
    return reply.result;
  };
  for (const auto& row : rows) {
    for (const std::string& path : row.begun) {
      directory_.write("efs/0" + path, "");
      std::filesystem::resize_file(directory_.root() + "/efs/0" + path, row.octets);
      EXPECT_EQ(chunk(row, path, 0), 0) << row.rule;
    }
    EXPECT_EQ(chunk(row, row.continued, 400), row.result) << row.rule;
  }
}

TEST_F(NvEfs, AWriteServedByAnyInstanceSucceedsAndARefusedOneStops) {
  start_modem(
      "[[fault]]\nservice = \"vendor\"\naction = \"change\"\nnth = 1\nat = 40\noctets = [3]\n"
      "[[fault]]\nservice = \"vendor\"\naction = \"change\"\nnth = 3\nat = 40\n"
      "octets = [228, 255, 255, 255]\n");
  EXPECT_EQ(write(kPath, pattern(500)), 0) << "the result is an instance's id";
  EXPECT_EQ(write(kPath, pattern(500)), -28);
  EXPECT_EQ(requests(), 3u);
}

}  // namespace
