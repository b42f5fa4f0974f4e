#pragma once

#include <string>

namespace oltmgrd {

/// The listening Unix stream socket of the control channel, mode 0600. Takes the path for this process: a
/// socket that a killed process left behind is replaced, a living one is not. The path is free again at the
/// end.
class ControlSocket {
public:
    /// Throws `StartError` that names the path.
    explicit ControlSocket(const std::string& path);
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    int descriptor() const { return socket_; }

private:
    void lock();
    void removeStale() const;
    void listen();

    std::string path_;
    std::string lockPath_;
    int lock_ = -1;
    int socket_ = -1;
};

}  // namespace oltmgrd
