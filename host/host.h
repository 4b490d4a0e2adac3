// The contract's implementation on a host: a computer without a modem of its own. What its sources
// share.
#pragma once

#include <memory>

#include "qcci/link/link.h"
#include "sim/phone/phone.h"

namespace host {

// The phone of this process, in $VEX_PHONE or the default directory, which need not exist yet. Any
// thread may call it; the phone is never destroyed.
const sim::Phone& phone();

// Makes the phone at the first call. False when that has failed, at every call; the cause has been
// printed to standard error once.
[[nodiscard]] bool prepare_phone();

// A link to the modem that VEX_MODEM chooses: "embedded", "unix:PATH", "qrtr", "replay:FILE" or
// "replay-timing:FILE"; when it is unset, to the phone's served modem if that answers, and to an
// embedded one otherwise. Never null: where
// there is no modem the link never opens, and the cause has been printed to standard error.
[[nodiscard]] std::unique_ptr<qcci::Link> make_link();

}  // namespace host
