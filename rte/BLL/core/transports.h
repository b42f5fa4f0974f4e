#pragma once

#include <rpc/rpc.h>

namespace rte {

/// Have a transport that was just made served by operations of ours from here on, so that no client of it can
/// hold up, flood or fool the process: a UDP transport by `DatagramOperations`, the connections of a
/// listening TCP transport by the `ConnectionHub`. Where the system refuses what the hub needs, the library
/// goes on serving. Transports that others make are left alone.
///
/// For the thread that registers a program; registrations come one after the other, as the RPC library has
/// them. The receive loop may run already.
///
/// What was adopted ends with the library that holds this code: when it is unloaded, or the process exits,
/// connections are closed and transports destroyed that were not yet. No receive loop runs then.
void adoptDatagrams(SVCXPRT* transport);
void adoptListener(SVCXPRT* transport);

}  // namespace rte
