#include "common/qcril_mem.h"

#include <atomic>
#include <cstdlib>

#include "common/trace.h"

namespace {

std::atomic<uint32_t> g_blocks{0};

}  // namespace

extern "C" void* qcril_malloc_adv(size_t size, const char* function, int line) {
  void* block = std::calloc(1, size > 0 ? size : 1);
  if (block == nullptr) {
    const Operation operation(__func__);
    TRACE_ERROR("no memory for %zu octets, asked for by %s, line %d", size, function, line);
    return nullptr;
  }
  ++g_blocks;
  return block;
}

extern "C" void qcril_free_adv(void* block, const char* /*function*/, int /*line*/) {
  if (block == nullptr) return;
  --g_blocks;
  std::free(block);
}

extern "C" uint32_t qcril_mem_blocks(void) { return g_blocks; }
