// Words of comments that are octets: a command line may write an NV item, and a fault rule a
// message.
#pragma once

#include <string>

namespace traffic {

// Writes x for the digits of every number behind the fourth of those that follow each other.
// Whether there were any.
bool hide_octets(std::string* comment);

}  // namespace traffic
