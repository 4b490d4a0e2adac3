// The desk's side of the contract: what its sources share.
#ifndef HOST_HOST_H_
#define HOST_HOST_H_

#include "sim/phone/phone.h"

namespace host {

// The phone of this process; its directory need not be there yet.
const sim::Phone& phone();

// Makes the phone unless that is done. False when it cannot be: standard error has heard why, once.
bool prepare_phone();

}  // namespace host

#endif  // HOST_HOST_H_
