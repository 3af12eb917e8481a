// What a C compiler makes of the header of the C interface.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// The size of each record, in the order of the header; ends with 0.
extern const size_t kSizesInC[];
// The offsets of fields that lie behind padding; ends with 0.
extern const size_t kOffsetsInC[];

#ifdef __cplusplus
}
#endif
