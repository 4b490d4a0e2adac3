#include "sim/phone/selection.h"

#include <cerrno>
#include <sstream>
#include <utility>

#include "qcci/wire/octets.h"

namespace sim {
namespace {

// Empty for what is no id.
ConfigId config_id(const std::string& text) {
  const auto octets = qcci::from_hex(text);
  return octets && octets->size() <= PDC_CONFIG_ID_MAX ? *octets : ConfigId();
}

}  // namespace

std::string selection_path(uint32_t type, uint32_t sub) {
  return type == PDC_CONFIG_TYPE_SOFTWARE ? "pdc/software/" + std::to_string(sub) : "pdc/platform";
}

int read_selection(const Phone& phone, const std::string& path, Selection* selection) {
  *selection = {};
  std::string text;
  const int error = phone.all().read(path, &text);
  if (error != 0) return error == ENOENT ? 0 : error;
  std::istringstream lines(text);
  for (std::string key, id; lines >> key >> id;) {
    if (key == "active") selection->active = config_id(id);
    if (key == "pending") selection->pending = config_id(id);
  }
  return 0;
}

int write_selection(const Phone& phone, const std::string& path, const Selection& selection) {
  std::string text;
  for (const auto& [key, id] :
       {std::pair("active ", &selection.active), {"pending ", &selection.pending}}) {
    if (!id->empty()) text += key + qcci::to_hex(*id) + "\n";
  }
  return phone.all().write(path, text);
}

}  // namespace sim
