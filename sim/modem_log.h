// log/modem.log: what a modem has to say when nobody is there to read its standard error.
#ifndef SIM_MODEM_LOG_H_
#define SIM_MODEM_LOG_H_

#include <string>

#include "sim/files.h"
#include "sim/phone.h"

namespace sim {

// Lines of several threads and processes do not mix. A log that cannot be opened takes nothing.
class ModemLog {
 public:
  explicit ModemLog(const Phone& phone);
  void write(const std::string& text) const;

 private:
  Descriptor file_;
};

}  // namespace sim

#endif  // SIM_MODEM_LOG_H_
