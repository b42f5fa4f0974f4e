#pragma once

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace common {

/// Where the management process listens for operators unless told otherwise: "oltmgrd.sock" in
/// $XDG_RUNTIME_DIR, else in /run for root and in /tmp for everybody else. Server and clients both ask here.
inline std::string defaultControlPath() {
    const char* runtimeDirectory = std::getenv("XDG_RUNTIME_DIR");
    if (runtimeDirectory != nullptr && *runtimeDirectory != '\0') {
        return std::string(runtimeDirectory) + "/oltmgrd.sock";
    }
    return ::geteuid() == 0 ? "/run/oltmgrd.sock" : "/tmp/oltmgrd.sock";
}

}  // namespace common
