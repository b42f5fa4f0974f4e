#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "oltmgrd/files/fileLock.h"

namespace oltmgrd {

/// Files that are read have at most so many bytes; eight full OLTs need less.
inline constexpr std::size_t kFileMax = 16U << 20U;

/// The contents of a file. Throws `FileError`, also for what is no regular file and for one of more than
/// `kFileMax` bytes.
std::string readFile(const std::string& path);

/// What `path` names after its symbolic links, also where nothing is there yet, so that a file has one name
/// before and after it is made; `path` itself where its directory is missing.
std::string resolvedPath(const std::string& path);

/// A file that this process alone may replace while the object lives, as long as the others use this too.
/// `path` may name a symbolic link: that stays, and the file that it names is meant. One thread at a time.
class LockedFile {
public:
    /// Takes the file's lock, and removes what killed processes left behind beside it. Throws
    /// `FileInUseError` when another process has the lock, `FileError` when it cannot be had, when `path` is
    /// there and is no regular file, or when it is the name of a lock.
    explicit LockedFile(const std::string& path);

    /// The file itself, after symbolic links.
    const std::string& path() const { return target_; }

    /// Replaces the file so that at every moment, also after a crash, it is the old one or the new one,
    /// whole. An existing file keeps its permissions, a new one has mode 0640. Throws `FileError`; the old
    /// file is untouched then and nothing is left behind.
    void replace(std::string_view contents) const;

private:
    static const std::string& checked(const std::string& target);

    std::string target_;
    FileLock lock_;
};

}  // namespace oltmgrd
