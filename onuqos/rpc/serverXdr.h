#pragma once

/*
 * Included ahead of the generated XDR routines where they are built for the server. The routines stay as they
 * are generated; library routines that they call are replaced by ones that keep the same bytes:
 * - a fixed array of char takes one 32-bit item an element, and the library makes a function call of each;
 * - the library takes the length of a string on trust and reserves memory for it before the bytes are there.
 */

#include <rpc/rpc.h>

#ifdef __cplusplus
extern "C" {
#endif

bool_t onuqos_xdr_vector(XDR* xdrs, char* elements, u_int count, u_int size, xdrproc_t routine);

/* Decoding reserves no more than twice the bytes that are there, or 64 KiB. A string longer than what its
 * record still holds is refused, and no other. */
bool_t onuqos_xdr_string(XDR* xdrs, char** string, u_int maxSize);
bool_t onuqos_xdr_wrapstring(XDR* xdrs, char** string);

#ifdef __cplusplus
}
#endif

#ifdef ONUQOS_GENERATED_XDR
#define xdr_vector onuqos_xdr_vector
#define xdr_string onuqos_xdr_string
#endif
