// A modem served over the local socket, by a thread of this process.

#include <sys/eventfd.h>

#include <thread>

#include "bench/round_trip.h"
#include "sim/modem.h"
#include "sim/server.h"

int main(int argc, char** argv) {
  const bench::QuietPhone directory;
  const sim::Phone phone(directory.root());
  std::string why;
  const auto modem = sim::make_modem(phone, &why);
  if (modem == nullptr) return 1;
  sim::Server server(*modem);
  const std::string path = phone.path("modem.sock");
  if (!server.listen(path, &why)) return 1;
  const sim::Descriptor stop(::eventfd(0, EFD_CLOEXEC));
  sim::Door* const doors[] = {&server};
  std::thread serving([&] { sim::serve_modem(*modem, doors, stop.get()); });

  ::setenv("VEX_MODEM", ("unix:" + path).c_str(), 1);
  bench::register_round_trips("socket");
  const int result = bench::run(argc, argv);

  ::eventfd_write(stop.get(), 1);
  serving.join();
  return result;
}
