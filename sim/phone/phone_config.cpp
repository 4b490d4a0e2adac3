#include "sim/phone/phone_config.h"

namespace sim {

bool read_phone_toml(const Phone& phone, std::string* toml, std::string* why) {
  const int error = phone.all().quiet().read("phone.toml", toml);
  if (error != 0) *why = phone.path("phone.toml") + ": " + reason(error);
  return error == 0;
}

bool load_phone_config(const Phone& phone, PhoneConfig* config, std::string* why) {
  std::string toml;
  if (!read_phone_toml(phone, &toml, why)) return false;
  if (parse_phone_config(toml, config, why)) return true;
  *why = phone.root() + "/" + *why;
  return false;
}

bool read_phone(const Phone& phone, PhoneConfig* config, std::string* why) {
  return phone.prepare(why) && load_phone_config(phone, config, why);
}

}  // namespace sim
