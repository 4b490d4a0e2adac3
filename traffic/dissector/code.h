// The part of the dissector that is the same whatever the services are.
#pragma once

namespace traffic {

// Before the tables, which it fills: field(), services, payload_rows.
extern const char* const kDissectorHead;
// Behind them.
extern const char* const kDissectorTail;

}  // namespace traffic
