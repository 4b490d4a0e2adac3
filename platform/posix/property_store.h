// Where an implementation of the contract keeps properties: what platform/posix/properties.cpp
// needs of it. Threads and processes as platform/properties.h promises.
#pragma once

#include <string>

namespace platform {

// The property's value, of any length; empty when there is none, or it cannot be had.
std::string load_property(const std::string& name);
// `name` and `value` are valid for a property.
[[nodiscard]] bool store_property(const std::string& name, const std::string& value);

}  // namespace platform
