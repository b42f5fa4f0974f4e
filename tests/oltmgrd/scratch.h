#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
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

    std::set<std::string> entries() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory_)) {
            names.insert(entry.path().filename());
        }
        return names;
    }

    static void write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

    static std::string read(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

private:
    std::filesystem::path directory_;
};

/// A test with a directory of its own.
class Scratch : public testing::Test, protected ScratchDirectory {};
