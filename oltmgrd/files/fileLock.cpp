#include "oltmgrd/files/fileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "oltmgrd/files/errors.h"

namespace oltmgrd {
namespace {

constexpr mode_t kMode = 0600;
constexpr std::size_t kHolderMax = 16;  // characters of a process number and its end

/// What the file of a lock holds; more than `kHolderMax` characters are as bad as all others.
std::string contentsOf(int descriptor) {
    char text[kHolderMax + 1];
    const ssize_t count = ::pread(descriptor, text, sizeof text, 0);
    return {text, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

bool isHolder(const std::string& text) {
    return text.size() <= kHolderMax && text.ends_with('\n') &&
           text.find_first_not_of("0123456789") == text.size() - 1;
}

}  // namespace

FileLock::FileLock(const std::string& path) {
    const std::string file = path + kLockEnd;
    // Neither another file by way of a link, nor waiting should it be a FIFO.
    descriptor_ = Descriptor(
        ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, kMode));
    if (descriptor_ == -1) {
        throw FileError(file + ": " + std::strerror(errno));
    }
    const bool isLocked = ::flock(descriptor_, LOCK_EX | LOCK_NB) == 0;
    if (!isLocked && errno != EWOULDBLOCK) {
        throw FileError(file + ": " + std::strerror(errno));
    }
    struct stat status {};
    const std::string contents = contentsOf(descriptor_);
    const bool isOurs = ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode) &&
                        (contents.empty() || isHolder(contents));
    if (!isLocked) {
        throw FileInUseError(isHolder(contents)
                                 ? path + ": process " + contents.substr(0, contents.size() - 1) + " uses it"
                                 : path + ": another process uses it");
    }
    if (!isOurs) {
        throw FileError(file + ": is there already and is no lock of oltmgrd");
    }
    const std::string holder = std::to_string(::getpid()) + "\n";
    if (::ftruncate(descriptor_, 0) != 0 ||
        ::pwrite(descriptor_, holder.data(), holder.size(), 0) != static_cast<ssize_t>(holder.size())) {
        throw FileError(file + ": " + std::strerror(errno));
    }
}

}  // namespace oltmgrd
