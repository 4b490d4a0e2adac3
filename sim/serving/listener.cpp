#include "sim/serving/listener.h"

namespace sim {

void serve_modem(Modem& modem, std::span<Listener* const> listeners, int stop) {
  std::vector<pollfd> polled;
  std::vector<size_t> begins;
  for (;;) {
    polled.assign(1, {stop, POLLIN, 0});
    begins.clear();
    for (Listener* listener : listeners) {
      begins.push_back(polled.size());
      listener->poll_for(&polled);
    }
    begins.push_back(polled.size());
    // When it fails, no descriptor has an event.
    (void)platform::clock().poll_until(polled.data(), polled.size(), modem.next_due());
    if (polled[0].revents != 0) return;
    modem.run_due();
    for (size_t i = 0; i < listeners.size(); ++i) {
      listeners[i]->serve(std::span(polled).subspan(begins[i], begins[i + 1] - begins[i]));
    }
  }
}

}  // namespace sim
