#include "support/desk.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "platform/qmi_client.h"
#include "sim/phone/default_phone.h"
#include "sim/phone/phone_config.h"
#include "sim/services/make_modem.h"
#include "sim/serving/embedded_link.h"
#include "support/process_link.h"

namespace desk {
namespace {

// The environment of the person who runs the tests must not change their results.
[[maybe_unused]] const bool g_environment_is_ours = [] {
  for (const char* variable :
       {"VEX_MODEM", "VEX_SHELL_LEVELS", "VEX_LOG_LEVELS", "VEX_PROCESS_INSTANCE"}) {
    ::unsetenv(variable);
  }
  for (const int number : {SIGINT, SIGQUIT}) std::signal(number, SIG_DFL);  // a script ignores them
  return true;
}();

}  // namespace

std::string read(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

Files files_below(const std::string& folder) {
  Files files;
  std::error_code none;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, none)) {
    const std::string path = entry.path();
    if (entry.is_regular_file()) files[path.substr(folder.size() + 1)] = read(path);
  }
  return files;
}

std::string folder_in_memory(const std::string& name) {
  const bool usable = ::access("/dev/shm", W_OK) == 0;
  std::string folder = (usable ? "/dev/shm/" : "/tmp/") + name + "-XXXXXX";
  if (::mkdtemp(folder.data()) == nullptr) std::exit(2);
  return folder;
}

void write_to(int fd) {
  ::dup2(fd, STDOUT_FILENO);
  ::dup2(fd, STDERR_FILENO);
  ::close(fd);
}

void write_to(const std::string& path) {
  write_to(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600));
}

int shell_status(int wait_status) {
  return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
}

PhoneDirectory::PhoneDirectory() {
  std::string name = std::filesystem::temp_directory_path() / "vex-test-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) std::abort();
  root_ = name;
  write(".vex-phone", "");  // whatever the test puts there before the phone makes itself
  ::setenv("VEX_PHONE", root_.c_str(), 1);
}

PhoneDirectory::~PhoneDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

bool PhoneDirectory::has(const std::string& path) const {
  return std::filesystem::exists(root_ + "/" + path);
}

void PhoneDirectory::write(const std::string& path, std::string_view contents) const {
  std::filesystem::create_directories(std::filesystem::path(root_ + "/" + path).parent_path());
  std::ofstream out(root_ + "/" + path, std::ios::binary);
  out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
}

Modem& Desk::start_modem(std::string_view toml) {
  std::string why;
  EXPECT_TRUE(directory_.phone().prepare(&why)) << why;
  directory_.write("phone.toml", sim::default_phone_toml() + std::string(toml));
  return start_written_modem();
}

Modem& Desk::start_written_modem() {
  std::string why;
  sim::PhoneConfig config;
  EXPECT_TRUE(sim::read_phone(directory_.phone(), &config, &why)) << why;
  const auto modem = std::make_shared<Modem>(directory_.phone(), config, sim::all_services());
  modem->set_tap([record = record_](const qmi_idl_service_object& service, sim::FaultKind kind,
                                    sim::Address, sim::Address, std::span<const uint8_t> octets) {
    const base::Lock lock(record->mutex);
    record->messages.push_back({service.name, kind, {octets.begin(), octets.end()}});
  });
  desk::use_link(sim::make_embedded_link(modem));
  return *modem;
}

std::vector<Message> Desk::passed(sim::FaultKind kind) {
  const base::Lock lock(record_->mutex);
  std::vector<Message> found;
  std::copy_if(record_->messages.begin(), record_->messages.end(), std::back_inserter(found),
               [kind](const Message& message) { return message.kind == kind; });
  return found;
}

uint32_t instances(qmi_idl_service_object_type service) {
  uint32_t count = 0;
  qmi_client_get_service_list(service, nullptr, nullptr, &count);
  return count;
}

void bounce(sim::Modem& modem, qmi_idl_service_object_type service) {
  modem.take_down(service->id);
  while (instances(service) != 0) std::this_thread::yield();
  modem.bring_up(service->id);
  while (instances(service) != 1) std::this_thread::yield();
}

std::vector<std::string> trace_messages(const std::string& output) {
  std::vector<std::string> messages;
  std::istringstream in(output);
  std::string line;
  while (std::getline(in, line)) {
    const size_t bracket = line.starts_with("RIL[") ? line.find("] ") : std::string::npos;
    const size_t colon = bracket == std::string::npos ? bracket : line.find(": ", bracket);
    messages.push_back(colon == std::string::npos ? line : line.substr(colon + 2));
  }
  return messages;
}

bool said(const std::string& output, const std::string& message) {
  const auto messages = trace_messages(output);
  return std::find(messages.begin(), messages.end(), message) != messages.end();
}

void expect_sayings(const std::vector<Saying>& rows) {
  for (const Saying& row : rows) {
    const std::string output = output_of([&] { EXPECT_EQ(row.call(), row.result) << row.rule; });
    EXPECT_TRUE(row.message == nullptr || said(output, row.message)) << row.rule << "\n" << output;
  }
}

Ran run(const std::string& line) {
  ::setenv("BIN", VEX_PROGRAMS, 1);
  FILE* pipe = ::popen(("( " + line + "\n) 2>&1").c_str(), "r");
  if (pipe == nullptr) return {-1, ""};
  Ran ran{0, ""};
  char buffer[4096];
  for (size_t n = 0; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    ran.output.append(buffer, n);
  }
  ran.status = shell_status(::pclose(pipe));
  return ran;
}

}  // namespace desk
