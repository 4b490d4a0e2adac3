// Android's system properties.
//
// A value has at most PROPERTY_VALUE_MAX - 1 octets. Properties outlive the process. A set is
// atomic: after a crash a property has its old value or the new one. Every function may be called
// from any thread and from several processes at once.
#pragma once

#include <sys/cdefs.h>

__BEGIN_DECLS

#define PROPERTY_VALUE_MAX 92  // with the terminating zero; Android's own number

// Copies the property's value to `value`, which has room for PROPERTY_VALUE_MAX octets; copies
// `default_value` when there is none, or the empty string when that is null too. Returns the length
// copied, without the terminating zero.
int property_get(const char* key, char* value, const char* default_value);
// 0; -1 when the name or the value is not valid for a property, or cannot be stored.
int property_set(const char* key, const char* value);
// As property_get with an empty default.
int __system_property_get(const char* name, char* value);

__END_DECLS
