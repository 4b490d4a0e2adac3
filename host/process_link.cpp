// The client library's link in every program. Alone in its source, so that a program that defines
// qcci::make_process_link itself, as a test does, links that one instead.

#include "host/host.h"
#include "traffic/link/process_capture.h"

std::unique_ptr<qcci::Link> qcci::make_process_link() {
  return traffic::captured(host::make_link());
}
