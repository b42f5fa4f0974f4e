#pragma once

#include <rpc/rpc.h>

// Operations of the RPC library's transports that are replaced, by way of the table of operations that each
// transport has. What travels is the same.
//
// Requests that have arrived are served in turns of up to 16 for each transport before `select` looks at the
// others again: waiting for what is known to be there costs as much as a small request does. (Of a connection
// whose records are not bounded, by RPC_SVC_CONNMAXREC_SET, the library itself first serves all that it has
// read ahead.)
//
// A transport that was adopted keeps pointing to this code until it is destroyed. Before a library that holds
// this code is unloaded, its transports and connections are destroyed, or the receive loop ends for good.

/// For a UDP transport, when it is made: turns, and arguments that reach beyond the datagram that carries
/// them are refused.
///
/// The RPC library decodes a request from its whole receive buffer, so a datagram that is shorter than its
/// arguments takes the rest from what an earlier request left there. At this transport such a request fails
/// to decode from here on, like any other that is cut short.
void adoptDatagrams(SVCXPRT* transport);

/// For a TCP connection, at any of its requests: turns. The library makes these transports itself, so they
/// are first seen when they carry a request. Leaves any other transport alone.
void adoptConnection(SVCXPRT* transport);
