// The client library's only link in a target, with one server on it. Never destroyed.
#pragma once

#include <memory>

#include "support/scripted_link.h"

namespace fed {

inline constexpr qcci::Address kServer{1, 7};

inline desk::ScriptedLink& scripted_bus() {
  static auto& bus = *new desk::ScriptedLink;
  return bus;
}

}  // namespace fed

std::unique_ptr<qcci::Link> qcci::make_process_link() {
  return std::unique_ptr<Link>(&fed::scripted_bus());
}
