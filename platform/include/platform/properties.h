// Android's system properties.
//
// Values have at most PROPERTY_VALUE_MAX - 1 octets; a property lives until it is set again, over
// the end of the process. Sets are whole or absent whatever crashes, and safe under any number of
// processes and threads.
#ifndef PLATFORM_PROPERTIES_H_
#define PLATFORM_PROPERTIES_H_

#ifdef __cplusplus
extern "C" {
#endif

#define PROPERTY_VALUE_MAX 92  // with the terminating zero; Android's own number

// Copies the value, or `default_value` (null: the empty text) when there is none, to `value`, which
// has room for PROPERTY_VALUE_MAX. Returns the length copied.
int property_get(const char* key, char* value, const char* default_value);
// 0, or -1 for a name or value that a property cannot have, or storage that cannot be written.
int property_set(const char* key, const char* value);
// The value's length; 0, and the empty text, when there is none.
int __system_property_get(const char* name, char* value);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_PROPERTIES_H_
