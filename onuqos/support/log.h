#pragma once

#include <string>

#include "BLLManager.h"
#include "Log.h"
#include "onuqos/support/platformObject.h"

/// Where a log line comes from. Made from the operation's name where the helper is called.
struct At {
    At(const char* name, int at = __builtin_LINE()) : operation(name), line(at) {}

    const char* operation;
    int line;
};

/// Writes a line of `level`, a piece at a time.
template <typename... Pieces>
void logLine(LogImpl::logLevel_t level, const Pieces&... pieces) {
    auto& log = platformObject<Log>();
    log.setMsgLevel(level);
    (log.write(pieces), ...);
}

/// Writes an error line with the prefix by which operators know the module, whatever file it comes from. The
/// last piece ends the line.
template <typename... Pieces>
void logErrorPieces(At at, const Pieces&... pieces) {
    logLine(LogImpl::logLevelError, "onuQos.cpp", ":", at.line, ":", at.operation, ":", pieces...);
}

/// The same with a piece of its own for the end of the line.
template <typename... Pieces>
void logError(At at, const Pieces&... pieces) {
    logErrorPieces(at, pieces..., "\n");
}

/// The platform lock of an operation, held for its whole run. Writes the module's line when it is not
/// obtained; the line speaks of the exclusive lock in both cases.
template <typename PlatformLock>
class [[nodiscard]] OperationLock {
public:
    explicit OperationLock(const char* operation) {
        if (!lock_.obtained()) {
            // Built here, but a literal to the log: as data it could not end the line.
            const std::string name = std::string("onuQos::") + operation + ".\n";
            logLine(LogImpl::logLevelError, "Error obtaining exclusive lock in ", name.c_str());
        }
    }

    explicit operator bool() const { return lock_.obtained(); }

private:
    PlatformLock lock_;
};

using WriteLock = OperationLock<BLLManager::exclusiveLock_t>;
using ReadLock = OperationLock<BLLManager::sharedLock_t>;
