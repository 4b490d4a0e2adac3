// Carrier configurations (MBNs): refreshing them, and reactivating them from the start.
//
// sub_mask: bit 0 for SUB_0, bit 1 for SUB_1; 1 to 3. mbn_type: a pdc_config_type_enum_v01.
//
// The PDC client is made by the first operation that needs it and is kept until the process ends.
// Results: 0, a PDC code (mbn/pdc_utils.h), or -1 for bad arguments. Not for
// several threads at once, since a reactivation replaces the client under the others.
#pragma once

#include <sys/cdefs.h>

#include "mbn/pdc_utils.h"

__BEGIN_DECLS

// Connects to PDC, anew if force_init is not 0, else unless that is done already.
PLATFORM_NODISCARD int kelvor_mbn_init(unsigned char force_init);

// Activates the selected configuration again, softly: one subscription after the other, also when
// the first one failed. The last result.
PLATFORM_NODISCARD int kelvor_refresh_mbn(unsigned int sub_mask, unsigned int mbn_type);
PLATFORM_NODISCARD int kelvor_refresh_sw_mbn(unsigned int sub_mask);

// Reads which configuration is current, deactivates, selects and activates it. A subscription whose
// current configuration cannot be read ends the operation. The last result.
PLATFORM_NODISCARD int kelvor_reactivate_mbn(unsigned int sub_mask, unsigned int mbn_type);
PLATFORM_NODISCARD int kelvor_reactivate_sw_mbn(unsigned int sub_mask);

// Deactivates the current configuration and has the modem bring its NV state to storage. The result
// of the deactivation; that of the other is traced.
PLATFORM_NODISCARD int kelvor_mbn_deactivate_config(unsigned int sub,
                                                    pdc_config_type_enum_v01 type);

__END_DECLS
