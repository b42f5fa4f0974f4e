#pragma once

#include <rpc/rpc.h>

/// Makes a UDP transport refuse arguments that reach beyond the datagram that carries them.
///
/// The RPC library decodes a request from its whole receive buffer, so a datagram that is shorter than its
/// arguments takes the rest from what an earlier request left there. From here on such a request fails to
/// decode, like any other that is cut short. Requests that are whole travel as before.
void boundArgumentsToDatagram(SVCXPRT* transport);
