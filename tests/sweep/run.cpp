#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <thread>
#include <utility>

#include "common/trace.h"
#include "sim/phone/default_phone.h"
#include "sim/replay/replay_modem.h"
#include "sim/services/make_modem.h"
#include "sim/serving/embedded_link.h"
#include "support/command.h"
#include "support/process_link.h"
#include "sweep/sweep.h"
#include "traffic/link/capture_link.h"

namespace {

// Goes before what this thread writes next.
thread_local const char* t_mark = "";

ssize_t write_marked(void*, const char* text, size_t size) {
  const std::string line = std::exchange(t_mark, "") + std::string(text, size);
  return ::write(STDOUT_FILENO, line.data(), line.size()) < 0 ? 0 : static_cast<ssize_t>(size);
}

}  // namespace

// Every trace line asks both switches first. The shell's lines are marked by their level here; the
// log is left alone.
extern "C" bool __wrap_kelvor_hal_get_shell_print_flag(uint32_t level) {
  t_mark = level == kTraceError ? sweep::kErrorMark : level == kTraceDebug ? sweep::kDebugMark : "";
  return true;
}
extern "C" bool __wrap_kelvor_hal_get_logcat_print_flag(uint32_t) { return false; }

namespace sweep {
namespace {

namespace fs = std::filesystem;

// Of real time. A run takes a few hundredths, a tenth when it looks for a service that never comes;
// a sanitizer on a machine that is busy otherwise stretches that a hundredfold.
constexpr unsigned kHungAfterS = 60;
// Behind every time-out, delayed message and restart.
constexpr auto kUntilProbe = std::chrono::seconds(60);

// An embedded modem's link that may lose the bus for good.
class CutLink final : public qcci::Link {
 public:
  CutLink(std::unique_ptr<qcci::Link> link, Fault fault)
      : link_(std::move(link)), fault_(std::move(fault)), cut_(fault_.cut_at == Fault::kNoBus) {}

  bool open(qcci::Endpoint* endpoint) override {
    const std::lock_guard lock(mutex_);
    if (cut_ || !link_->open(endpoint)) return false;
    open_.insert(endpoint->id);
    return true;
  }
  void close(qcci::EndpointId endpoint) override {
    const std::lock_guard lock(mutex_);
    open_.erase(endpoint);
    link_->close(endpoint);
  }
  qcci::Sent send(qcci::EndpointId endpoint, qcci::Address to,
                  std::span<const uint8_t> octets) override {
    const std::lock_guard lock(mutex_);
    const bool request = to.port != qcci::kControlPort;
    const bool last = request && ++sent_ == fault_.cut_at;
    const bool goes = last ? fault_.answered : !cut_;
    const qcci::Sent sent = goes ? link_->send(endpoint, to, octets) : qcci::Sent::kCut;
    cut_ = cut_ || last;
    if (last) link_->wake();
    return sent;
  }
  void wait(platform::Time deadline, uint64_t wakes) override {
    if (!lost()) link_->wait(deadline, wakes);
  }
  qcci::Received take(qcci::Datagram* datagram) override {
    return lose_one(datagram) ? qcci::Received::kClosed : link_->take(datagram);
  }
  void wake() override { link_->wake(); }
  uint64_t wakes() const override { return link_->wakes(); }

 private:
  // Whether there is an endpoint that has not lost the bus yet.
  bool lost() {
    const std::lock_guard lock(mutex_);
    return cut_ && !open_.empty();
  }
  bool lose_one(qcci::Datagram* datagram) {
    const std::lock_guard lock(mutex_);
    if (!cut_ || open_.empty()) return false;
    datagram->endpoint = open_.extract(open_.begin()).value();
    link_->close(datagram->endpoint);
    return true;
  }

  const std::unique_ptr<qcci::Link> link_;
  const Fault fault_;
  std::mutex mutex_;
  std::set<qcci::EndpointId> open_;
  uint32_t sent_ = 0;
  bool cut_;
};

void copy(const fs::path& from, const fs::path& to) {
  fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
}

// How many are there, but for what this itself reads. What goes beyond the expected may be a
// moment's.
int settled(const char* folder, int expected) {
  for (int tries = 100;; --tries) {
    int now = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
      std::error_code none;
      now += fs::read_symlink(entry, none).string().starts_with("/proc/") ? 0 : 1;
    }
    if (now <= expected || tries == 0) return now;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void run_words(const std::string& words, const std::string& output) {
  desk::write_to(output);
  desk::Vex(words).run();
  std::fflush(stdout);
}

// Writes down what passes, a line a message, until the file is closed.
struct Record {
  std::mutex mutex;
  std::ofstream out;
  std::map<std::pair<const char*, sim::FaultKind>, uint32_t> counts;

  void operator()(const qmi_idl_service_object& service, sim::FaultKind kind, sim::Address,
                  sim::Address, std::span<const uint8_t> octets) {
    const std::lock_guard lock(mutex);
    const uint32_t nth = ++counts[{service.name, kind}];
    if (!out.is_open()) return;
    out << service.name << ' ' << static_cast<int>(kind) << ' ' << nth << " ="
        << qcci::to_hex(octets) << '\n';
  }
};

// What a replayed modem has to say stands in the output, where it differs from the clean run's.
void say(const std::string& line) { std::printf("%s\n", line.c_str()); }

std::unique_ptr<qcci::Link> link_to(const std::shared_ptr<sim::Modem>& modem, const Fault& fault) {
  std::unique_ptr<qcci::Link> link;
  std::string why;
  traffic::Recording recording;
  if (fault.replay.empty()) {
    link = sim::make_embedded_link(modem);
  } else if (recording.read(fault.replay, &why)) {
    link = sim::make_embedded_link(std::make_shared<sim::ReplayModem>(
        std::move(recording), sim::ReplayModem::Timing::kAtOnce, say, nullptr));
  }
  if (fault.capture.empty()) return link;
  static const auto capture = traffic::Capture::open(fault.capture, "vex", "", say);
  return std::make_unique<traffic::CaptureLink>(std::move(link), *capture);
}

// In the child.
void run(const Line& line, const Fault& fault, const Run& clean, const std::string& phone,
         const std::string& folder) {
  ::alarm(kHungAfterS);
  const std::string root = folder + "/phone";
  copy(phone, root);
  std::ofstream(root + "/phone.toml", std::ios::app) << fault.toml;
  ::setenv("VEX_PHONE", root.c_str(), 1);
  stdout =
      ::fopencookie(nullptr, "w", {.read = {}, .write = write_marked, .seek = {}, .close = {}});
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  desk::TestClock& clock = desk::TestClock::install();
  clock.run_by_itself();
  static Record& record = *new Record;  // a thread may use it until the end
  record.out.open(folder + "/record");
  std::string why;
  const std::shared_ptr<sim::Modem> modem = sim::make_modem(sim::Phone(root), &why);
  if (modem == nullptr) std::abort();
  modem->set_tap(std::ref(record));
  desk::use_link(std::make_unique<CutLink>(link_to(modem, fault), fault));

  const platform::Time began = clock.now();
  run_words(line.words, folder + "/output");
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(clock.now() - began);
  const int threads = settled("/proc/self/task", clean.threads);
  const int descriptors = settled("/proc/self/fd", clean.descriptors);
  copy(root, folder + "/state");
  std::ofstream(folder + "/end") << took.count() << ' ' << descriptors << ' ' << threads;
  {
    const std::lock_guard lock(record.mutex);
    record.out.close();
  }
  clock.sleep_until(clock.now() + kUntilProbe);
  for (const char* part : {"/nv", "/efs", "/pdc"}) fs::remove_all(root + part);
  copy(phone, root);
  run_words(line.probe, folder + "/probe");
}

}  // namespace

void make_phone(const std::string& phone, bool euicc) {
  const auto write = [&](const std::string& path, std::string_view contents) {
    const fs::path at = phone + "/efs/" + path;
    fs::create_directories(at.parent_path());
    std::ofstream(at, std::ios::binary) << contents;
  };
  fs::create_directory(phone);
  std::string why;
  if (!sim::Phone(phone).prepare(&why)) std::abort();
  write("0/sweep/file", std::string(300, '\2'));
  write("0/vireo/vireo_print_mask", "\1");
  for (const char* name : {"kelvor/rf_ant_port_config", "antenna/ant_tx_config",
                           "kelvor/qmi_print_flag", "kelvor/rf_print_mask"}) {
    write(std::string("0/nv/item_files/modem/") + name, std::string(1000, '\1'));
  }
  std::string enabled(4, '\0');
  enabled[0] = euicc ? 1 : 0;
  write("1/nv/item_files/modem/uim/uimdrv/esim_enable", enabled);
}

State state_of(const std::string& phone) {
  State state;
  for (const char* part : {"/nv", "/efs"}) {
    for (const auto& [path, contents] : desk::files_below(phone + part)) {
      state.emplace(part + ("/" + path), contents);
    }
  }
  return state;
}

int start(const Line& line, const Fault& fault, const Run& clean, const std::string& phone,
          const std::string& folder) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  run(line, fault, clean, phone, folder);
  std::exit(0);
}

Run result(const std::string& folder, int wait_status) {
  Run run;
  run.status = desk::shell_status(wait_status);
  run.output = desk::read(folder + "/output");
  run.probe = desk::read(folder + "/probe");
  run.state = state_of(folder + "/state");
  std::ifstream(folder + "/end") >> run.virtual_ms >> run.descriptors >> run.threads;
  std::ifstream in(folder + "/record");
  Message message;
  int kind = 0;
  for (std::string octets; in >> message.service >> kind >> message.nth >> octets;) {
    message.kind = static_cast<sim::FaultKind>(kind);
    message.octets = desk::unhex(octets.substr(1));
    run.messages.push_back(message);
  }
  return run;
}

}  // namespace sweep
