// PLATFORM_NODISCARD: of functions whose result says whether they did their work, in C and C++. To
// ignore it is a warning. Functions without it may be called for their effect alone.
#pragma once

#ifdef __cplusplus
#define PLATFORM_NODISCARD [[nodiscard]]
#else
#define PLATFORM_NODISCARD __attribute__((warn_unused_result))
#endif
