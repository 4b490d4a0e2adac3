#include "support/process_link.h"

#include <utility>

#include "host/host.h"

namespace {

std::unique_ptr<qcci::Link> g_link;

}  // namespace

void desk::use_link(std::unique_ptr<qcci::Link> link) { g_link = std::move(link); }

std::unique_ptr<qcci::Link> qcci::make_process_link() {
  return g_link != nullptr ? std::move(g_link) : host::make_link();
}
