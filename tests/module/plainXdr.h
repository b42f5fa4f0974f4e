#pragma once

#include <rpc/rpc.h>

#include <string>

/// The XDR routine of a record as it is generated and as clients have it; in a library of its own, since the
/// module's routines bear the same names.
[[gnu::visibility("default")]] xdrproc_t plainXdr(const std::string& record);
