#include "oltmgrd/files/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>
#include <system_error>

#include "oltmgrd/files/descriptor.h"
#include "oltmgrd/files/errors.h"

namespace oltmgrd {
namespace {

constexpr mode_t kNewFileMode = 0640;
constexpr const char* kTemporary = ".new-";  // after the file's name; random characters follow
constexpr std::size_t kTemporaryRandom = 6;

[[noreturn]] void fail(const std::string& path, int error) {
    throw FileError(path + ": " + std::strerror(error));
}

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

std::filesystem::path directoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

std::string randomLetters() {
    std::random_device random;
    std::string letters(kTemporaryRandom, 'a');
    for (char& letter : letters) {
        letter = static_cast<char>('a' + random() % 26);
    }
    return letters;
}

/// Removes what killed processes left behind when they replaced the file. The caller has its lock.
void removeLeftOvers(const std::string& target) {
    const std::string begin = target.substr(target.rfind('/') + 1) + kTemporary;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directoryOf(target), error)) {
        const std::string name = entry.path().filename();
        if (name.size() == begin.size() + kTemporaryRandom && name.starts_with(begin)) {
            std::filesystem::remove(entry.path(), error);
        }
    }
}

}  // namespace

std::string resolvedPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::canonical(path, error);
    if (!error) {
        return whole;
    }
    // Other than a name that is missing, a link may lead back to itself.
    if (error != std::errc::no_such_file_or_directory) {
        return path;
    }
    const std::filesystem::path aim = std::filesystem::read_symlink(path, error);
    if (!error) {
        return resolvedPath(directoryOf(path) / aim);
    }
    const std::filesystem::path directory = std::filesystem::canonical(directoryOf(path), error);
    return error ? path : std::string(directory / std::filesystem::path(path).filename());
}

std::string readFile(const std::string& path) {
    // Not to wait for a writer should it be a FIFO.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (file == -1 || ::fstat(file, &status) != 0) {
        fail(path, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        throw FileError(path + ": is no regular file");
    }
    std::string contents;
    std::string block(1U << 16U, '\0');
    // What a file's size says is not always what can be read from it.
    while (contents.size() <= kFileMax && status.st_size <= static_cast<off_t>(kFileMax)) {
        const ssize_t count = ::read(file, block.data(), block.size());
        if (count == 0) {
            return contents;
        }
        if (count < 0 && errno != EINTR) {
            fail(path, errno);
        }
        contents.append(block, 0, count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    throw FileError(path + ": has more than " + std::to_string(kFileMax >> 20U) + " MiB");
}

LockedFile::LockedFile(const std::string& path) : target_(resolvedPath(path)), lock_(checked(target_)) {
    removeLeftOvers(target_);
}

const std::string& LockedFile::checked(const std::string& target) {
    struct stat status {};
    if (::stat(target.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw FileError(target + ": is no regular file");
    }
    if (target.ends_with(kLockEnd)) {
        throw FileError(target + ": is the name of a lock; choose one that does not end in " + kLockEnd);
    }
    return target;
}

void LockedFile::replace(std::string_view contents) const {
    checked(target_);
    struct stat old {};
    const mode_t mode = ::stat(target_.c_str(), &old) == 0 ? old.st_mode & 07777 : kNewFileMode;
    const std::string directory = directoryOf(target_);
    const std::string temporary = target_ + kTemporary + randomLetters();
    // Without a name for as long as it can be, so that nothing is left behind even where the process is
    // killed.
    Descriptor file(::open(directory.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, mode));
    const bool hasName = file == -1;
    if (hasName) {
        file = Descriptor(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    }
    if (file == -1) {
        fail(temporary, errno);
    }
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    if (::fchmod(file, mode) != 0 || !writeAll(file, contents) || ::fsync(file) != 0 ||
        (!hasName && ::linkat(AT_FDCWD, link.c_str(), AT_FDCWD, temporary.c_str(), AT_SYMLINK_FOLLOW) != 0) ||
        !file.close() || ::rename(temporary.c_str(), target_.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        fail(temporary, error);
    }

    const Descriptor entries(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (entries == -1 || ::fsync(entries) != 0) {
        fail(directory, errno);
    }
}

}  // namespace oltmgrd
