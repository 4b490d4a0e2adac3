// The reader of captures, on any octets, what shows and redacts the frames that it finds, and a
// modem that answers from them.

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "sim/replay/replay_modem.h"
#include "traffic/file/pcapng.h"
#include "traffic/redact/redactor.h"
#include "traffic/report/report.h"
#include "traffic/view/print.h"

namespace {

struct Client final : sim::Port {
  void deliver(sim::Address, std::span<const uint8_t>) override {}
};

// Asks a modem that has these frames for each of them, at each of its services, twice.
void replay(const std::vector<traffic::Frame>& frames) {
  traffic::Recording recording;
  for (const traffic::Frame& frame : frames) recording.add(frame);
  const auto services = static_cast<uint32_t>(recording.services().size());
  sim::ReplayModem modem(
      std::move(recording), sim::ReplayModem::Timing::kAtOnce, [](const std::string&) {}, nullptr);
  Client client;
  const sim::Address address = modem.attach(client);
  for (const traffic::Frame& frame : frames) {
    for (uint32_t at = 0; at < 2 * services; ++at) {
      modem.send(address, {sim::Bus::kNode, 1 + at / 2}, frame.octets);
    }
    modem.send(address, sim::Bus::kControl, frame.octets);
    modem.run_due();
  }
  (void)modem.not_asked();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const int fd = [] {
    char path[] = "/tmp/fuzz_capture.XXXXXX";
    const int made = ::mkstemp(path);
    ::unlink(path);
    return made;
  }();
  // Behind a whole section, so that packets are found by chance.
  static const std::string head = traffic::section_of("fuzz", "");
  const std::string octets =
      (size % 2 != 0 ? head : "") + std::string(reinterpret_cast<const char*>(data), size);
  if (::ftruncate(fd, 0) != 0 ||
      ::pwrite(fd, octets.data(), octets.size(), 0) != static_cast<ssize_t>(octets.size())) {
    std::abort();
  }
  traffic::Reader reader;
  if (!reader.open("/proc/self/fd/" + std::to_string(fd))) std::abort();
  traffic::Printer printer({.service = "", .message = "", .octets = true});
  traffic::Redactor redactor;
  traffic::Report report("fuzz");
  traffic::Frame frame;
  std::vector<traffic::Frame> frames;
  const auto use = [&] {
    if (frames.size() < 64) frames.push_back(frame);
    (void)printer.lines(frame);
    (void)report.frame(frame);
    redactor.learn(frame);
    redactor.redact(&frame);
  };
  while (reader.next(&frame) == traffic::Reader::Result::kFrame) use();
  // Any octets as a message of any service, which a block's form would hardly let through.
  if (size < 2) return 0;
  frame = {};
  const auto services = qcci::idl::all_services();
  frame.service = services[data[0] % services.size()]->id;
  frame.octets.assign(data + 1, data + size);
  frame.octets.resize(std::max<size_t>(frame.octets.size(), qcci::kQmiHeader));
  qcci::QmiHeader header;
  (void)qcci::QmiHeader::parse(frame.octets, &header);
  header.length = static_cast<uint16_t>(frame.octets.size() - qcci::kQmiHeader);
  header.write(frame.octets.data());
  use();
  // As what follows it, too.
  frame.to_client = true;
  use();
  replay(frames);
  return 0;
}
