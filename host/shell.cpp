#include "platform/shell.h"

#include <cstdlib>

extern "C" int platform_shell(const char* line) { return std::system(line); }
