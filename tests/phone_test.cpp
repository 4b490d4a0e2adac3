// The simulated phone: its directory, its properties and its faults.

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <tuple>

#include "platform/idl/nas.h"
#include "platform/properties.h"
#include "platform/qmi_client.h"
#include "sim/phone/storage.h"
#include "support/desk.h"

namespace {

// Forks `count` processes that run `work`, and waits for them; the number that failed.
template <class Work>
int in_processes(int count, Work work) {
  std::vector<pid_t> children;
  for (int i = 0; i < count; ++i) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(work(i) ? 0 : 1);
    children.push_back(child);
  }
  int failed = 0;
  for (const pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
    failed += status != 0;
  }
  return failed;
}

struct PhoneFiles : testing::Test {
  desk::PhoneDirectory directory_;
};

TEST_F(PhoneFiles, ManyProcessesMakeOnePhone) {
  const std::string root = directory_.root() + "/new/phone";
  const int failed = in_processes(30, [&](int) {
    std::string why;
    std::string item;
    const sim::Phone phone(root);
    return phone.prepare(&why) && phone.nv().read("0/550", &item) == 0 && item.size() == 9;
  });
  EXPECT_EQ(failed, 0);
  struct stat status {};
  ASSERT_EQ(::stat(root.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700u);
  EXPECT_EQ(directory_.file("new/phone/nv/0/550"),
            std::string("\x08\x1A\x32\x54\x76\x98\x10\x32\x74", 9));
  // What a person changed stays.
  std::filesystem::remove(root + "/nv/0/550");
  std::string why;
  EXPECT_TRUE(sim::Phone(root).prepare(&why));
  EXPECT_FALSE(std::filesystem::exists(root + "/nv/0/550"));
}

TEST_F(PhoneFiles, ADirectoryThatWasThereKeepsItsModeAndGetsWhatIsMissing) {
  directory_.write("phone.toml", "");
  ASSERT_EQ(::chmod(directory_.root().c_str(), 0755), 0);
  std::string why;
  ASSERT_TRUE(directory_.phone().prepare(&why)) << why;
  EXPECT_EQ(directory_.phone().nv().write("0/1", "x"), 0);
  struct stat status {};
  ASSERT_EQ(::stat(directory_.root().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0755u);
  directory_.write("nv/0/550", "mine");
  ASSERT_TRUE(std::filesystem::remove(directory_.root() + "/phone.toml"));
  ASSERT_TRUE(directory_.phone().prepare(&why)) << why;
  EXPECT_EQ(directory_.file("nv/0/550"), "mine") << "the default phone.toml is back, no more";
  EXPECT_NE(directory_.file("nv/1/550"), "");
  ASSERT_TRUE(std::filesystem::remove(directory_.root() + "/.vex-phone"));
  ASSERT_TRUE(directory_.phone().prepare(&why)) << why;
  EXPECT_TRUE(directory_.has(".vex-phone")) << "as one that was made without it";
}

TEST_F(PhoneFiles, AFileOfMoreThanSixteenMebibytesIsNotRead) {
  std::string why;
  std::string read;
  ASSERT_TRUE(directory_.phone().prepare(&why)) << why;
  ASSERT_EQ(::truncate((directory_.root() + "/nv/0/550").c_str(), 17 << 20), 0);
  EXPECT_EQ(directory_.phone().nv().read("0/550", &read), EFBIG);
}

TEST_F(PhoneFiles, ProcessesThatWriteAtOnceAllGoBackToTheSync) {
  std::string why;
  ASSERT_TRUE(directory_.phone().prepare(&why)) << why;
  static constexpr bool kLoses = true;
  const sim::Storage storage(directory_.phone(), kLoses);
  ASSERT_EQ(storage.nv.write("0/1", "synced"), 0);
  ASSERT_EQ(storage.sync(), 0);
  const int failed = in_processes(8, [&](int i) {
    int error = 0;
    for (int n = 0; n < 20; ++n) error |= storage.nv.write("0/1", std::to_string(i));
    return error == 0;
  });
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(directory_.file("nv/0/1").size(), 1u);
  EXPECT_EQ(storage.restart(), 0);
  EXPECT_EQ(directory_.file("nv/0/1"), "synced");
}

TEST_F(PhoneFiles, PropertiesOutliveProcessesAndNoneIsLost) {
  EXPECT_EQ(
      in_processes(
          40, [](int i) { return property_set(("p." + std::to_string(i)).c_str(), "v") == 0; }),
      0);
  char value[PROPERTY_VALUE_MAX];
  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(property_get(("p." + std::to_string(i)).c_str(), value, nullptr), 1) << i;
  }
}

// ---- faults, as a client sees them

struct Faults : desk::Desk {
  static int ask(qmi_client_type client, uint32_t* error = nullptr) {
    nas_plain_resp resp;
    const nas_bind_subscription_req request{1};
    const int result = qmi_client_send_msg_sync(client, NAS_BIND_SUBSCRIPTION, &request,
                                                sizeof request, &resp, sizeof resp, 3000);
    if (error != nullptr) *error = resp.resp.error;
    return result;
  }
  static qmi_client_type open() {
    qmi_client_type client = nullptr;
    std::ignore = qmi_client_init_instance(nas_get_service_object_internal_v01(1, 398, 6), 0,
                                           nullptr, nullptr, nullptr, 4, &client);
    return client;
  }
};

TEST_F(Faults, ActOnTheMessageThatTheyNameAndNoOther) {
  static const struct {
    const char* action;
    int result;
    uint32_t error;
  } kRows[] = {
      {"kind = \"request\"\nnth = 1\naction = \"drop\"", -3, 0},
      {"kind = \"request\"\nnth = 2\naction = \"qmi-error\"\nerror = 82", 0, 82},
      {"kind = \"request\"\nnth = 3\naction = \"truncate\"\noctets = 6", -3, 0},
      {"kind = \"request\"\nnth = 4\naction = \"change\"\nat = 7\noctets = [9]", 0,
       1},  // malformed
      {"kind = \"request\"\nnth = 5\naction = \"change\"\nat = 3\noctets = [0x99]", -3, 0},
      {"kind = \"request\"\nnth = 6\naction = \"duplicate\"", 0, 0},
      {"kind = \"request\"\nnth = 7\naction = \"delay\"\nms = 2990", 0, 0},
      // Responses, of which three of those requests had none and one had two.
      {"nth = 6\naction = \"qmi-error\"\nerror = 3", 0, 3},
      {"nth = 7\naction = \"truncate\"\noctets = 3", -3, 0},
      {"nth = 8\naction = \"wrong-transaction\"", -3, 0},
      {"nth = 9\naction = \"duplicate\"", 0, 0},
      {"nth = 10\naction = \"delay\"\nms = 3010", -3, 0},
      {"nth = 11\naction = \"restart\"", -2, 0},
  };
  std::string toml = "[[fault]]\nservice = \"sar\"\naction = \"drop\"\n";
  for (const auto& row : kRows) {
    toml += "[[fault]]\nservice = \"nas\"\nmessage = 0x45\n" + std::string(row.action) + "\n";
  }
  sim::Modem& modem = start_modem(toml);
  clock_.run_by_itself();
  const qmi_client_type client = open();
  for (const auto& row : kRows) {
    uint32_t error = 0;
    EXPECT_EQ(ask(client, &error), row.result) << row.action;
    EXPECT_EQ(error, row.error) << row.action;
  }
  const auto unmet = modem.unused_fault_rules();
  ASSERT_EQ(unmet.size(), 1u);
  EXPECT_NE(unmet[0].find("\"sar\""), std::string::npos) << unmet[0];
}

}  // namespace
