#pragma once

#include <string>

#include "oltmgrd/files/descriptor.h"

namespace oltmgrd {

/// How the names of locks end.
inline constexpr const char* kLockEnd = ".lock";

/// Keeps a path to this process, among those that ask for it, while the object lives: an exclusive lock on
/// the file `path`.lock, which ends with its holder however that ends. The lock's file holds the number of
/// the process and stays where it is, as another process may have opened it already.
class FileLock {
public:
    /// Throws `FileInUseError` when another process, or another object, has it; `FileError` when the lock's
    /// file cannot be had, or is not one.
    explicit FileLock(const std::string& path);

private:
    Descriptor descriptor_;
};

}  // namespace oltmgrd
