// The commands of vex-traffic. Each returns the program's exit status and reports its failures.
#pragma once

#include <string>

#include "traffic/dissector/dissector.h"
#include "traffic/view/print.h"

namespace traffic {

int print_file(const std::string& path, const PrintOptions& options, bool follow);

// Prints what was replaced, by kind. The copy is whole or absent.
int redact_file(const std::string& path, const std::string& output);

// Makes a page for a browser. It is whole or absent; of a damaged file it has what can be read.
int report_file(const std::string& path, const std::string& output);

// 0 when the runs have the same exchanges, 1 when they differ or cannot be read.
int diff_files(const std::string& a, const std::string& b);

}  // namespace traffic
