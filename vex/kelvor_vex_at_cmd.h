// The AT channel of command 8.
#pragma once

#include <cstdint>

// What the reply is read from when it is 1 or more; the command closes it and sets it to 0. Nothing
// in the tool opens it; a program that links the command may, before it runs.
extern "C" int32_t g_at_serial_fd;
