#include "oneFile.h"

#include "oltmgrd/files/errors.h"
#include "oltmgrd/files/files.h"

std::optional<std::string>& fuzz::theFile() {
    static std::optional<std::string> file;
    return file;
}

// In place of those that touch files: an input may name any.

std::string oltmgrd::readFile(const std::string& path) {
    if (!fuzz::theFile()) {
        throw FileError(path + ": is not there");
    }
    return *fuzz::theFile();
}

std::string oltmgrd::resolvedPath(const std::string& path) {
    return path;
}

oltmgrd::FileLock::FileLock(const std::string& /*path*/) {}

oltmgrd::LockedFile::LockedFile(const std::string& path) : target_(path), lock_(path) {}

void oltmgrd::LockedFile::replace(std::string_view contents) const {
    fuzz::theFile() = contents;
}
