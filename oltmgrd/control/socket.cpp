#include "oltmgrd/control/socket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "oltmgrd/files/errors.h"

namespace oltmgrd {
namespace {

constexpr mode_t kMode = 0600;

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
    throw StartError("control path " + path + ": " + reason);
}

[[noreturn]] void failInUse(const std::string& path) {
    fail(path, "another oltmgrd serves it; stop that one or give another path with --control");
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        fail(path, "a socket's path has 1 to " + std::to_string(sizeof address.sun_path - 1) + " bytes");
    }
    std::ranges::copy(path, address.sun_path);
    return address;
}

Descriptor newSocket(const std::string& path) {
    Descriptor descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (descriptor == -1) {
        fail(path, std::strerror(errno));
    }
    return descriptor;
}

bool isSocketThere(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return false;
    }
    if (!S_ISSOCK(status.st_mode)) {
        fail(path, "is there already and is no socket; remove it or give another path with --control");
    }
    return true;
}

/// The lock decides between two processes that start at the same time.
FileLock lockOf(const std::string& path) {
    addressOf(path);
    isSocketThere(path);  // nothing is left beside what is no socket
    try {
        return FileLock(path);
    } catch (const FileInUseError&) {
        failInUse(path);
    } catch (const FileError& error) {
        fail(path, "its lock file cannot be had: " + std::string(error.what()) +
                       "; see that its directory is there and writable, or give another path with --control");
    }
}

}  // namespace

ControlSocket::ControlSocket(const std::string& path) : path_(path), lock_(lockOf(path)) {
    removeStale();
    listen();
}

ControlSocket::~ControlSocket() {
    struct stat status {};
    if (::lstat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_) {
        ::unlink(path_.c_str());
    }
}

void ControlSocket::removeStale() const {
    if (!isSocketThere(path_)) {
        return;
    }
    const sockaddr_un address = addressOf(path_);
    const Descriptor probe = newSocket(path_);
    const bool answers =
        ::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 || errno == EAGAIN;
    if (answers) {
        failInUse(path_);
    }
    if (::unlink(path_.c_str()) != 0) {
        fail(path_, "cannot be replaced: " + std::string(std::strerror(errno)));
    }
}

void ControlSocket::listen() {
    const sockaddr_un address = addressOf(path_);
    socket_ = newSocket(path_);
    // A socket's own mode limits the mode of its file, so that it is never open to others, whatever the
    // umask.
    if (::fchmod(socket_, kMode) != 0 ||
        ::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail(path_, std::strerror(errno));
    }
    struct stat status {};
    if (::lstat(path_.c_str(), &status) == 0) {
        device_ = status.st_dev;
        inode_ = status.st_ino;
    }
    if (::chmod(path_.c_str(), kMode) != 0 || ::listen(socket_, SOMAXCONN) != 0) {
        const int error = errno;
        ::unlink(path_.c_str());
        fail(path_, std::strerror(error));
    }
}

}  // namespace oltmgrd
