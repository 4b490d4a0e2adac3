// Android's properties, in the phone's file `properties`: lines of name=value.

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>

#include "host/host.h"
#include "platform/posix/property_store.h"

namespace {

constexpr const char kFile[] = "properties";

// Whether the line is the property's; *value is then its value.
bool value_in(std::string_view line, std::string_view name, std::string_view* value) {
  if (!line.starts_with(name) || line.size() == name.size() || line[name.size()] != '=') {
    return false;
  }
  *value = line.substr(name.size() + 1);
  return true;
}

template <class Each>
void for_each_line(std::string_view text, Each each) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    each(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

}  // namespace

std::string platform::load_property(const std::string& name) {
  std::string text;
  std::string found;
  (void)host::phone().all().read(kFile, &text);  // a failure has been reported: no properties
  for_each_line(text, [&](std::string_view line) {
    std::string_view value;
    if (value_in(line, name, &value)) found = value;
  });
  return found;
}

bool platform::store_property(const std::string& name, const std::string& value) {
  const sim::Phone& phone = host::phone();
  if (!host::prepare_phone()) return false;
  const sim::FileLock lock = phone.lock();
  if (!lock.held()) return false;
  std::string text;
  // A file that cannot be read must not be overwritten.
  if (const int error = phone.all().read(kFile, &text); error != 0 && error != ENOENT) return false;
  std::string changed;
  for_each_line(text, [&](std::string_view line) {
    std::string_view old;
    if (!value_in(line, name, &old)) changed.append(line).append("\n");
  });
  changed.append(name).append("=").append(value).append("\n");
  return phone.all().write(kFile, changed) == 0;
}
