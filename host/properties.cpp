// Android's properties, in the phone's file `properties`: lines of name=value.

#include "platform/properties.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#include "host/host.h"

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

std::string find(std::string_view name) {
  std::string text;
  std::string found;
  (void)host::phone().all().read(kFile, &text);  // a failure has been reported: no properties
  for_each_line(text, [&](std::string_view line) {
    std::string_view value;
    if (value_in(line, name, &value)) found = value.substr(0, PROPERTY_VALUE_MAX - 1);
  });
  return found;
}

}  // namespace

extern "C" {

int __system_property_get(const char* name, char* value) {
  const std::string found = name != nullptr ? find(name) : "";
  std::memcpy(value, found.c_str(), found.size() + 1);
  return static_cast<int>(found.size());
}

int property_get(const char* key, char* value, const char* default_value) {
  const int length = __system_property_get(key, value);
  if (length > 0 || default_value == nullptr) return length;
  const size_t n = strnlen(default_value, PROPERTY_VALUE_MAX - 1);
  std::memcpy(value, default_value, n);
  value[n] = '\0';
  return static_cast<int>(n);
}

int property_set(const char* key, const char* value) {
  if (key == nullptr || *key == '\0' || std::strpbrk(key, "=\n") != nullptr) return -1;
  const std::string_view wanted = value != nullptr ? value : "";
  if (wanted.size() >= PROPERTY_VALUE_MAX || wanted.find('\n') != std::string_view::npos) return -1;
  const sim::Phone& phone = host::phone();
  if (!host::prepare_phone()) return -1;
  const sim::FileLock lock = phone.lock();
  if (!lock.held()) return -1;
  std::string text;
  // A file that cannot be read must not be overwritten.
  if (const int error = phone.all().read(kFile, &text); error != 0 && error != ENOENT) return -1;
  std::string changed;
  for_each_line(text, [&](std::string_view line) {
    std::string_view old;
    if (!value_in(line, key, &old)) changed.append(line).append("\n");
  });
  changed.append(key).append("=").append(wanted).append("\n");
  return phone.all().write(kFile, changed) == 0 ? 0 : -1;
}

}  // extern "C"
