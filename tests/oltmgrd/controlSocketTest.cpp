#include "controlSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <optional>

#include "errors.h"
#include "scratch.h"

namespace oltmgrd {
namespace {

using ControlSocketTest = Scratch;

std::string refusalOf(const std::string& path) {
    try {
        const ControlSocket socket(path);
        return "";
    } catch (const StartError& error) {
        return error.what();
    }
}

/// A bound socket whose process did not tidy up.
void leaveSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ::close(descriptor);
}

TEST_F(ControlSocketTest, IsForItsOwnerAloneWhateverTheUmask) {
    const mode_t before = ::umask(0);
    const std::string file = path("control");
    {
        const ControlSocket socket(file);
        struct stat status {};
        ASSERT_EQ(::stat(file.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0600U);
    }
    ::umask(before);
    EXPECT_EQ(entries(), std::set<std::string>{});
}

TEST_F(ControlSocketTest, ALivingOneIsNotReplaced) {
    const std::string file = path("control");
    std::optional<ControlSocket> first(file);
    EXPECT_EQ(refusalOf(file),
              "control path " + file +
                  ": another oltmgrd serves it; stop that one or give another path with --control");
    EXPECT_EQ(entries(), (std::set<std::string>{"control", "control.lock"}));
    first.reset();
    EXPECT_EQ(refusalOf(file), "");
}

TEST_F(ControlSocketTest, WhatAKilledProcessLeftIsReplaced) {
    const std::string file = path("control");
    leaveSocket(file);
    write(file + ".lock", "");
    EXPECT_EQ(refusalOf(file), "");
    EXPECT_EQ(entries(), std::set<std::string>{});
}

TEST_F(ControlSocketTest, OtherFilesAreLeftAlone) {
    const std::string file = path("control");
    write(file, "precious");
    EXPECT_EQ(refusalOf(file), "control path " + file +
                                   ": is there already and is no socket; remove it or give another path with "
                                   "--control");
    EXPECT_EQ(read(file), "precious");
    EXPECT_EQ(entries(), std::set<std::string>{"control"});
}

TEST_F(ControlSocketTest, PathsThatCannotBeAreNamed) {
    const std::string longPath = path(std::string(120, 'x'));
    EXPECT_EQ(refusalOf(longPath), "control path " + longPath + ": a socket's path has 1 to 107 bytes");
    EXPECT_EQ(refusalOf(path("none/control")).find("control path " + path("none/control")), 0U);
}

}  // namespace
}  // namespace oltmgrd
