#include "sim/phone/phone_config.h"

namespace sim {

bool load_phone_config(const Phone& phone, PhoneConfig* config, std::string* why) {
  std::string toml;
  if (const int error = phone.all().quiet().read("phone.toml", &toml); error != 0) {
    *why = phone.path("phone.toml") + ": " + reason(error);
    return false;
  }
  if (parse_phone_config(toml, config, why)) return true;
  *why = phone.root() + "/" + *why;
  return false;
}

bool read_phone(const Phone& phone, PhoneConfig* config, std::string* why) {
  return phone.prepare(why) && load_phone_config(phone, config, why);
}

}  // namespace sim
