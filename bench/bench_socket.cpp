// A modem served over the local socket, by a thread of this process.

#include "round_trip.h"
#include "served_modem.h"

int main(int argc, char** argv) {
  const bench::QuietPhone directory;
  const bench::ServedModem modem(directory.root());
  if (!modem.good()) return 1;
  ::setenv("VEX_MODEM", ("unix:" + modem.path()).c_str(), 1);
  bench::register_round_trips("socket");
  return bench::run(argc, argv);
}
