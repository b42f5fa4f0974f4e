#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

/// A directory that is gone with the object.
class ScratchDirectory {
public:
    ScratchDirectory() {
        std::string pattern = std::filesystem::temp_directory_path() / "oltmgrd-XXXXXX";
        directory_ = ::mkdtemp(pattern.data());
    }
    ~ScratchDirectory() { std::filesystem::remove_all(directory_); }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    std::string path(const std::string& name) const { return directory_ / name; }

private:
    std::filesystem::path directory_;
};
