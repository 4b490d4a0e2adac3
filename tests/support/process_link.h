// The client library's link in a test.
#ifndef TESTS_SUPPORT_PROCESS_LINK_H_
#define TESTS_SUPPORT_PROCESS_LINK_H_

#include "qcci/link/link.h"

namespace desk {

// Gives the client library this link, if it has not been used yet, instead of the host's.
void use_link(std::unique_ptr<qcci::Link> link);

}  // namespace desk

#endif  // TESTS_SUPPORT_PROCESS_LINK_H_
