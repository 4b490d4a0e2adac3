// The simulated modem with a hostile client: any datagrams, to its services and its control port.
// Input, repeated: one octet for the destination, two for the length, the datagram.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "qcci/services/services.h"
#include "sim/services/make_modem.h"

namespace {

class Sink final : public sim::Port {
 public:
  void deliver(sim::Address, std::span<const uint8_t>) override {}
};

std::string directory() {
  std::string name = std::filesystem::temp_directory_path() / "vex-fuzz-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) std::abort();
  static struct Remover {
    std::string name;
    ~Remover() { std::filesystem::remove_all(name); }
  } remover{name};
  return name;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string root = directory();
  static std::string why;
  static const auto modem = sim::make_modem(sim::Phone(root), &why);
  Sink sink;
  const sim::Address client = modem->attach(sink);
  while (size > 3) {
    const uint32_t port = data[0] % 8 == 7 ? qcci::kControlPort : data[0] % 8;
    const size_t length = std::min<size_t>(size - 3, data[1] | (data[2] & 3) << 8);
    modem->send(client, {1, port}, {data + 3, length});
    data += 3 + length;
    size -= 3 + length;
  }
  modem->run_due();
  for (const auto service : qcci::idl::all_services()) modem->bring_up(service->id);
  modem->detach(client);
  return 0;
}
