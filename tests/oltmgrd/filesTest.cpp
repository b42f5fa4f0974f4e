#include "files.h"

#include <sys/stat.h>

#include "errors.h"
#include "scratch.h"

namespace oltmgrd {
namespace {

using Files = Scratch;

mode_t modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

TEST_F(Files, ReplacingLeavesNothingElse) {
    const std::string file = path("saved");
    write(path("saved.new"), "what a crash left behind");
    replaceFile(file, "first");
    replaceFile(file, "second");
    EXPECT_EQ(readFile(file), "second");
    EXPECT_EQ(entries(), std::set<std::string>{"saved"});
}

TEST_F(Files, AReplacedFileKeepsItsPermissions) {
    const std::string file = path("saved");
    replaceFile(file, "new files are not for everybody");
    EXPECT_EQ(modeOf(file) & 0007, 0U);
    ASSERT_EQ(::chmod(file.c_str(), 0604), 0);
    replaceFile(file, "text");
    EXPECT_EQ(modeOf(file), 0604U);
}

TEST_F(Files, ALinkStaysAndItsTargetIsReplaced) {
    replaceFile(path("target"), "old");
    std::filesystem::create_symlink("target", path("link"));
    replaceFile(path("link"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    EXPECT_EQ(read(path("target")), "new");
    EXPECT_EQ(entries(), (std::set<std::string>{"link", "target"}));
}

TEST_F(Files, AFailureNamesTheFileAndChangesNothing) {
    std::filesystem::create_directory(path("directory"));
    for (const std::string& file : {path("nowhere/saved"), path("directory")}) {
        try {
            replaceFile(file, "text");
            FAIL() << file;
        } catch (const FileError& error) {
            EXPECT_EQ(std::string(error.what()).find(file), 0U) << error.what();
        }
    }
    EXPECT_EQ(entries(), std::set<std::string>{"directory"});
    EXPECT_TRUE(std::filesystem::is_empty(path("directory")));
    EXPECT_THROW(readFile(path("directory")), FileError);
    EXPECT_THROW(readFile(path("nothing")), FileError);
}

}  // namespace
}  // namespace oltmgrd
