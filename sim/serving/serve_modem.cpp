#include "sim/serving/serve_modem.h"

namespace sim {
namespace {

struct Stop final : Polled {
  void ready(uint32_t) override { asked = true; }
  bool asked = false;
};

}  // namespace

void serve_modem(ModemBus& modem, Poller& poller, int stop) {
  Stop stopped;
  const Poller::Id id = poller.add(stop, EPOLLIN, stopped);
  while (id != 0 && !stopped.asked) {
    poller.wait(modem.next_due());
    modem.run_due();
    poller.handle();
  }
  poller.remove(id);
}

}  // namespace sim
