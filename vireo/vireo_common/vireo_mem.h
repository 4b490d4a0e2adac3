// The framework's memory, whose blocks can be traced.
//
// Tracing is on when the property persist.vireo.mem_trace is exactly "true" at the first allocation
// of the process, and stays as it was then. Any thread may allocate and free.
#ifndef VIREO_VIREO_COMMON_VIREO_MEM_H_
#define VIREO_VIREO_COMMON_VIREO_MEM_H_

#include <stddef.h>
#include <stdint.h>

#include "platform/nodiscard.h"

#ifdef __cplusplus
extern "C" {
#endif

// Zeroed memory, or null. tag: the allocating function's name, which must live as long as the
// block.
PLATFORM_NODISCARD void* vireo_malloc_adv(size_t size, const char* tag, int line);
// Null is ignored.
void vireo_free_adv(void* pointer, const char* tag, int line);

// Blocks that are traced now: 0 while tracing is off.
uint32_t vireo_mem_traced(void);

#ifdef __cplusplus
}
#endif

#endif  // VIREO_VIREO_COMMON_VIREO_MEM_H_
