#pragma once

#include <sys/types.h>

#include <string>

#include "oltmgrd/files/descriptor.h"
#include "oltmgrd/files/fileLock.h"

namespace oltmgrd {

/// The listening Unix stream socket of the control channel, mode 0600. Takes the path for this process: a
/// socket that a killed process left behind is replaced, a living one is not. At the end the path is free
/// again, unless somebody has put something else there; the lock's file beside it stays.
class ControlSocket {
public:
    /// Throws `StartError` that names the path.
    explicit ControlSocket(const std::string& path);
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    int descriptor() const { return socket_; }

private:
    void removeStale() const;
    void listen();

    std::string path_;
    FileLock lock_;
    Descriptor socket_;
    dev_t device_ = 0;  // with the next: what the socket's file was made as
    ino_t inode_ = 0;
};

}  // namespace oltmgrd
