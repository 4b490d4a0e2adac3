// The eSIM test of the common commands: slot 2 between its card and its eUICC.
//
// Its outcome goes to standard output, for the script that calls it: "value=...", "eID=...",
// "card_status, ...", "apdu=...", a line each. Everything else is trace.
#pragma once

#include <cstdint>

extern "C" {

// Words: esim_on debug_on. debug_on 0 switches trace output off for the rest of the run. Returns
// the result of the request that ended the test, or 0.
int kelvor_cmn_esim_test(int argc, char** argv);

// Whether 32 digits, one a character, pass the check of ISO 7064 MOD 97-10.
bool is_eid_valid(const char* eid);

// Writes 16 octets to the modem's EID file unless it can be read. Looks once a process: when the
// file was there, or has been written.
void save_eid_to_efs(const uint8_t* eid);

}  // extern "C"
