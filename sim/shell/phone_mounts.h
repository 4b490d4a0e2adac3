// What the file system looks like in the phone's shell, as bubblewrap's arguments.
#pragma once

#include <string>
#include <vector>

namespace sim {

// The system's own files, but /dev/smd8 is the device `terminal` and /data/vendor the folder
// `vendor`, both given by their paths. /, /dev and /data take no new files.
std::vector<std::string> phone_mounts(const std::string& terminal, const std::string& vendor);

}  // namespace sim
