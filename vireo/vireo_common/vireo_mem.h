// The framework's memory, whose blocks can be traced.
//
// Tracing is on when the property persist.vireo.mem_trace is exactly "true" at the first allocation
// of the process, and stays as it was then. Any thread may allocate and free.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"

__BEGIN_DECLS

// Zeroed memory, or null. tag: the allocating function's name, which must live as long as the
// block.
PLATFORM_NODISCARD void* vireo_malloc_adv(size_t size, const char* tag, int line);
// Null is ignored.
void vireo_free_adv(void* pointer, const char* tag, int line);

// Blocks that are traced now: 0 while tracing is off.
uint32_t vireo_mem_traced(void);

__END_DECLS
