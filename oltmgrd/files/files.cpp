#include "oltmgrd/files/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "oltmgrd/files/errors.h"

namespace oltmgrd {
namespace {

constexpr mode_t kNewFileMode = 0640;

[[noreturn]] void fail(const std::string& path, int error) {
    throw FileError(path + ": " + std::strerror(error));
}

class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() {
        if (descriptor_ != -1) {
            ::close(descriptor_);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return descriptor_; }

    /// Closes it; false with errno set when what was written may be lost.
    bool close() { return ::close(std::exchange(descriptor_, -1)) == 0; }

private:
    int descriptor_;
};

bool writeAll(int descriptor, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t written = ::write(descriptor, contents.data(), contents.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        contents.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

/// What `path` names behind its symbolic links; `path` itself where nothing is.
std::string resolved(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : path;
}

std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

}  // namespace

std::string readFile(const std::string& path) {
    // Not to wait for a writer should it be a FIFO.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file == -1 || ::fstat(file, &status) != 0) {
        fail(path, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        throw FileError(path + ": is no regular file");
    }
    std::string contents;
    std::string block(1U << 16U, '\0');
    while (true) {
        const ssize_t count = ::read(file, block.data(), block.size());
        if (count == 0) {
            return contents;
        }
        if (count < 0 && errno != EINTR) {
            fail(path, errno);
        }
        contents.append(block, 0, count < 0 ? 0 : static_cast<std::size_t>(count));
    }
}

void replaceFile(const std::string& path, std::string_view contents) {
    const std::string target = resolved(path);
    // Always the same name, so that what a crash leaves behind is gone after the next save.
    const std::string temporary = target + ".new";

    struct stat old {};
    const mode_t mode = ::stat(target.c_str(), &old) == 0 ? old.st_mode & 07777 : kNewFileMode;
    if (::unlink(temporary.c_str()) != 0 && errno != ENOENT) {
        fail(temporary, errno);
    }
    Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (file == -1) {
        fail(temporary, errno);
    }
    if (::fchmod(file, mode) != 0 || !writeAll(file, contents) || ::fsync(file) != 0 || !file.close() ||
        ::rename(temporary.c_str(), target.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        fail(temporary, error);
    }

    const std::string directory = directoryOf(target);
    const Descriptor entries(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (entries == -1 || ::fsync(entries) != 0) {
        fail(directory, errno);
    }
}

}  // namespace oltmgrd
