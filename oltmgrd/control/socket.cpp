#include "oltmgrd/control/socket.h"

#include <fcntl.h>
#include <sys/file.h>
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

int newSocket(const std::string& path) {
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor == -1) {
        fail(path, std::strerror(errno));
    }
    return descriptor;
}

}  // namespace

ControlSocket::ControlSocket(const std::string& path) : path_(path), lockPath_(path + ".lock") {
    try {
        lock();
        removeStale();
        listen();
    } catch (...) {
        ::close(socket_);
        if (lock_ != -1) {
            ::unlink(lockPath_.c_str());
            ::close(lock_);
        }
        throw;
    }
}

ControlSocket::~ControlSocket() {
    ::unlink(path_.c_str());
    ::unlink(lockPath_.c_str());
    ::close(socket_);
    ::close(lock_);
}

/// The lock decides between two processes that start at the same time; it dies with its holder.
void ControlSocket::lock() {
    addressOf(path_);
    while (true) {
        const int descriptor = ::open(lockPath_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kMode);
        if (descriptor == -1) {
            fail(path_,
                 "its lock file cannot be made: " + std::string(std::strerror(errno)) +
                     "; see that its directory is there and writable, or give another path with --control");
        }
        if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
            ::close(descriptor);
            failInUse(path_);
        }
        // The holder before us may have removed the file between our opening and our locking it.
        struct stat ours {};
        struct stat named {};
        if (::fstat(descriptor, &ours) == 0 && ::stat(lockPath_.c_str(), &named) == 0 &&
            ours.st_ino == named.st_ino && ours.st_dev == named.st_dev) {
            lock_ = descriptor;
            return;
        }
        ::close(descriptor);
    }
}

void ControlSocket::removeStale() const {
    struct stat status {};
    if (::lstat(path_.c_str(), &status) != 0) {
        return;
    }
    if (!S_ISSOCK(status.st_mode)) {
        fail(path_, "is there already and is no socket; remove it or give another path with --control");
    }
    const sockaddr_un address = addressOf(path_);
    const int probe = newSocket(path_);
    const bool answers =
        ::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 || errno == EAGAIN;
    ::close(probe);
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
    if (::chmod(path_.c_str(), kMode) != 0 || ::listen(socket_, SOMAXCONN) != 0) {
        const int error = errno;
        ::unlink(path_.c_str());
        fail(path_, std::strerror(error));
    }
}

}  // namespace oltmgrd
