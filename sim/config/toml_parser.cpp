// The TOML library's parser, compiled here and here alone: it takes longer than all that uses it.
#define TOML_IMPLEMENTATION
#include "sim/config/toml_table.h"
