// A phone's properties, by its own programs: the calls of its C library are of no use to a static
// program.

#include <cerrno>
#include <cstring>
#include <string>

#include "device/program.h"
#include "device/report.h"
#include "platform/posix/property_store.h"

namespace {

constexpr const char kGet[] = "/system/bin/getprop";
constexpr const char kSet[] = "/system/bin/setprop";

std::string cause(int error) {
  return error == EPROTO ? "it has failed" : std::string(std::strerror(error));
}

}  // namespace

std::string platform::load_property(const std::string& name) {
  std::string value;
  if (const int error = device::run_program({kGet, name}, &value); error != 0) {
    device::report("property " + name + " is taken as unset: " + kGet + ": " + cause(error));
    return "";
  }
  if (value.ends_with('\n')) value.pop_back();
  return value;
}

bool platform::store_property(const std::string& name, const std::string& value) {
  const int error = device::run_program({kSet, name, value}, nullptr);
  if (error == 0) return true;
  device::report("property " + name + " is not set: " + kSet + ": " + cause(error) +
                 (error == EPROTO ? "; run vex as root (su)" : ""));
  return false;
}
