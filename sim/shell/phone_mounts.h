// Where things stand in the phone's shell, as bubblewrap's arguments.
#ifndef SIM_SHELL_PHONE_MOUNTS_H_
#define SIM_SHELL_PHONE_MOUNTS_H_

#include <string>
#include <vector>

namespace sim {

// The system as it is, but with a terminal at /dev/smd8 and a folder at /data/vendor.
std::vector<std::string> phone_mounts(const std::string& terminal, const std::string& vendor);

}  // namespace sim

#endif  // SIM_SHELL_PHONE_MOUNTS_H_
