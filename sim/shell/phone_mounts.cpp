#include "sim/shell/phone_mounts.h"

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <string_view>

namespace sim {
namespace {

using Arguments = std::vector<std::string>;

// A new folder with everything that the system's folder has, except for some names. A user cannot
// make mount points in a folder of the system, but can in the new one.
void mirror(const std::string& folder, std::initializer_list<std::string_view> but,
            Arguments* arguments) {
  std::error_code ignored;
  for (std::filesystem::directory_iterator it(folder, ignored), end; it != end;
       it.increment(ignored)) {
    const std::filesystem::path& path = it->path();
    if (std::ranges::find(but, path.filename().string()) != but.end()) continue;
    if (it->is_symlink(ignored)) {
      const auto target = std::filesystem::read_symlink(path, ignored);
      arguments->insert(arguments->end(), {"--symlink", target, path});
    } else {
      arguments->insert(arguments->end(), {"--dev-bind-try", path, path});
    }
  }
}

}  // namespace

Arguments phone_mounts(const std::string& terminal, const std::string& vendor) {
  Arguments arguments;
  const auto add = [&](std::initializer_list<std::string> words) {
    arguments.insert(arguments.end(), words);
  };
  mirror("/", {"dev", "proc", "data"}, &arguments);
  add({"--proc", "/proc"});
  // The system's /dev/ptmx opens no pseudo-terminals when it is mounted elsewhere, so the shell
  // gets a new one, with the devices that every /dev has.
  add({"--dev", "/dev"});
  mirror("/dev", {"smd8", "pts", "ptmx", "console", "core", "fd", "stdin", "stdout", "stderr"},
         &arguments);
  add({"--dev-bind", terminal, "/dev/smd8"});
  add({"--dir", "/data"});
  mirror("/data", {"vendor"}, &arguments);
  add({"--bind", vendor, "/data/vendor"});
  // Files written outside of the mounts would be lost with the shell.
  add({"--remount-ro", "/dev", "--remount-ro", "/"});
  return arguments;
}

}  // namespace sim
