#include "clients/onuqosctl/program.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <thread>

#include "common/errors.h"

namespace {

TEST(Program, ConnectsAnewAfterALostConnection) {
    std::signal(SIGPIPE, SIG_IGN);
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    const timeval patience{10, 0};
    ::setsockopt(listener, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_in address{};
    socklen_t length = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), length), 0);
    ASSERT_EQ(::listen(listener, 5), 0);
    ASSERT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length), 0);
    std::thread server([listener] {
        ::close(::accept(listener, nullptr, nullptr));
        // The second connection is served: a null call of a record mark and ten words, its success.
        const int peer = ::accept(listener, nullptr, nullptr);
        std::array<std::uint32_t, 11> call{};
        ::recv(peer, call.data(), sizeof call, MSG_WAITALL);
        const std::array<std::uint32_t, 7> reply = {htonl(0x80000000 | 24), call[1], htonl(1), 0, 0, 0, 0};
        ::send(peer, reply.data(), sizeof reply, MSG_NOSIGNAL);
        ::close(peer);
    });
    onuqosctl::Program program({.port = ntohs(address.sin_port), .timeoutSeconds = 10});
    EXPECT_THROW(program.ping(), common::NoAnswer);
    EXPECT_NO_THROW(program.ping());
    server.join();
    ::close(listener);
}

}  // namespace
