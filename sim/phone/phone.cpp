#include "sim/phone/phone.h"

#include <cerrno>
#include <cstdlib>

#include "sim/phone/default_phone.h"

namespace sim {

std::string Phone::default_root() {
  const auto variable = [](const char* name) {
    const char* value = std::getenv(name);
    return std::string(value != nullptr ? value : "");
  };
  std::string root = variable("VEX_PHONE");
  if (root.empty()) {
    std::string state = variable("XDG_STATE_HOME");
    if (!state.starts_with('/')) state.clear();  // relative paths are to be ignored
    if (state.empty() && !variable("HOME").empty()) state = variable("HOME") + "/.local/state";
    if (!state.empty()) root = state + "/vex/phone";
  }
  while (root.size() > 1 && root.back() == '/') root.pop_back();
  return root;
}

Phone::Phone(std::string root) : root_(std::make_shared<const PhoneRoot>(std::move(root))) {}

bool Phone::is_there(std::string* why) const {
  if (root().empty()) {
    *why = "no place for the phone: VEX_PHONE, XDG_STATE_HOME and HOME are empty";
    return false;
  }
  const int error = root_->find();
  if (error == ENOENT) *why = root() + ": no phone here (vex-phone init makes one)";
  if (error != 0 && error != ENOENT) *why = root_->explain(error);
  return error == 0;
}

std::string Phone::path_for_system_calls(const std::string& name) const {
  return "/proc/self/fd/" + std::to_string(descriptor()) + "/" + name;
}

bool Phone::prepare(std::string* why) const {
  if (root().empty()) return is_there(why);
  if (const int error = root_->make(); error != 0) {
    *why = root_->explain(error);
    return false;
  }
  const auto there = [this](const std::string& name) { return mode_of(descriptor(), name) != 0; };
  const auto fail = [&](const std::string& name, int error) {
    *why = path(name) + ": " + reason(error);
    return false;
  };
  if (there("phone.toml")) return true;
  const Folder folder = all().quiet();
  const FileLock only_one(folder, kLock);
  if (!only_one.held()) {
    *why = path(kLock) + ": " + only_one.why();
    return false;
  }
  if (there("phone.toml")) return true;
  for (const char* name : {"nv", "efs", "log", "dump"}) {
    if (const int error = folder.make(name); error != 0) return fail(name, error);
  }
  for (const DefaultFile& file : default_files()) {
    // A person may have removed phone.toml alone, to get the default one: the rest stays theirs.
    if (there(file.path)) continue;
    if (const int error = folder.write(file.path, file.contents); error != 0) {
      return fail(file.path, error);
    }
  }
  // Last: it marks the phone as complete.
  const int error = folder.write("phone.toml", default_phone_toml());
  return error == 0 ? true : fail("phone.toml", error);
}

}  // namespace sim
