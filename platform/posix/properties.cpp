// What a property is, wherever it is kept.

#include "platform/properties.h"

#include <cstring>
#include <string>

#include "platform/posix/property_store.h"

extern "C" {

int __system_property_get(const char* name, char* value) {
  std::string found;
  if (name != nullptr) found = platform::load_property(name).substr(0, PROPERTY_VALUE_MAX - 1);
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
  const std::string wanted = value != nullptr ? value : "";
  if (wanted.size() >= PROPERTY_VALUE_MAX || wanted.find('\n') != std::string::npos) return -1;
  return platform::store_property(key, wanted) ? 0 : -1;
}

}  // extern "C"
