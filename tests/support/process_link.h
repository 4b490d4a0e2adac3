// The client library's link in a test.
#pragma once

#include "qcci/link/link.h"

namespace desk {

// Gives the client library this link, if it has not been used yet, instead of the host's.
void use_link(std::unique_ptr<qcci::Link> link);

}  // namespace desk
