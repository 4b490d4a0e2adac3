// The words of vex-phone that ask or change a phone while it is served, and `show`'s relatives.
// docs/control.md has them as their users see them.
//
// Each prints its result and returns true, or false and why: nobody serves the phone, or what was
// asked for was refused, in which case nothing has changed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sim/phone/phone.h"

namespace sim {

// An empty key: all.
bool get_values(const Phone& phone, const std::string& key, bool json, std::string* why);
// `words`: KEY=VALUE.
bool set_values(const Phone& phone, const std::vector<std::string>& words, bool keep,
                std::string* why);
// `slot`: from 1.
bool put_card(const Phone& phone, uint32_t slot, bool in, std::string* why);
bool put_service(const Phone& phone, const std::string& service, bool up, std::string* why);
bool restart_modem(const Phone& phone, std::string* why);
// `words`: KEY=VALUE as in a [[fault]] table, or one inline table.
bool add_fault(const Phone& phone, const std::vector<std::string>& words, std::string* why);
bool list_faults(const Phone& phone, std::string* why);
bool clear_faults(const Phone& phone, std::string* why);
// `words`: FIELD=VALUE.
bool send_indication(const Phone& phone, const std::string& service, const std::string& message,
                     const std::vector<std::string>& words, std::string* why);
// Prints what changes until the server ends, and then says so.
bool watch_values(const Phone& phone, const std::vector<std::string>& keys, bool json,
                  std::string* why);

}  // namespace sim
