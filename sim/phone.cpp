#include "sim/phone.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "sim/default_phone.h"

namespace sim {

std::string Phone::default_root() {
  const auto variable = [](const char* name) {
    const char* value = std::getenv(name);
    return std::string(value != nullptr ? value : "");
  };
  std::string root = variable("VEX_PHONE");
  if (root.empty()) {
    std::string state = variable("XDG_STATE_HOME");
    if (!state.starts_with('/')) state.clear();  // a relative one is none
    if (state.empty() && !variable("HOME").empty()) state = variable("HOME") + "/.local/state";
    if (!state.empty()) root = state + "/vex/phone";
  }
  while (root.size() > 1 && root.back() == '/') root.pop_back();
  return root;
}

Phone::Phone(std::string root) : root_(std::move(root)) {}

bool Phone::prepare(std::string* why) const {
  if (root_.empty()) {
    *why = "no place for the phone: VEX_PHONE, XDG_STATE_HOME and HOME are empty";
    return false;
  }
  for (const char* name : {"", "/nv", "/efs", "/log", "/dump", "/tmp"}) {
    if (::access((root_ + name).c_str(), F_OK) == 0) continue;
    if (const int error = make_folders(root_ + name); error != 0) {
      *why = root_ + name + ": " + std::strerror(error);
      return false;
    }
  }
  const std::string toml = path("phone.toml");
  if (::access(toml.c_str(), F_OK) == 0) return true;
  const FileLock only_one = lock();
  if (!only_one.held()) {
    *why = path(".lock") + ": cannot be locked";
    return false;
  }
  if (::access(toml.c_str(), F_OK) == 0) return true;
  const Folder folder = all();
  for (const DefaultFile& file : default_files()) {
    // There when somebody removes phone.toml to have the default one again, and theirs.
    if (::access(path(file.path.c_str()).c_str(), F_OK) == 0) continue;
    if (const int error = folder.write(file.path, file.contents); error != 0) {
      *why = path(file.path.c_str()) + ": " + std::strerror(error);
      return false;
    }
  }
  // Last: its presence says that the phone is there.
  if (const int error = folder.write("phone.toml", kDefaultPhoneToml); error != 0) {
    *why = toml + ": " + std::strerror(error);
    return false;
  }
  return true;
}

}  // namespace sim
