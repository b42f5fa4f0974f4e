#include "rte/BLL/core/rpcProxy.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <regex>
#include <thread>

#include "rpc/portmapper.h"
#include "standin/threads.h"

using portmapper::Call;

namespace {

constexpr unsigned long kProgram = 0x20000099;
constexpr std::chrono::seconds kPatience{30};

/// The call that is to fail, with the transport it is made for: "bind udp".
std::string failing;

/// What select answers before it does its work: so many interruptions, then a failure.
std::atomic<int> selectInterrupted{0};
std::atomic<bool> selectFails{false};

bool fails(const std::string& step, int descriptor) {
    int type = 0;
    socklen_t size = sizeof type;
    getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size);
    return failing == step + (type == SOCK_DGRAM ? " udp" : " tcp");
}

int refusedWith(int error) {
    errno = error;
    return -1;
}

}  // namespace

// The linker sends the proxy's calls here (CMakeLists.txt).
extern "C" {

decltype(socket) realSocket __asm__("__real_socket"), wrapSocket __asm__("__wrap_socket");
decltype(bind) realBind __asm__("__real_bind"), wrapBind __asm__("__wrap_bind");
decltype(listen) realListen __asm__("__real_listen"), wrapListen __asm__("__wrap_listen");
decltype(svcudp_create) realUdpCreate __asm__("__real_svcudp_create"), wrapUdpCreate
    __asm__("__wrap_svcudp_create");
decltype(svctcp_create) realTcpCreate __asm__("__real_svctcp_create"), wrapTcpCreate
    __asm__("__wrap_svctcp_create");
decltype(select) realSelect __asm__("__real_select"), wrapSelect __asm__("__wrap_select");

int wrapSocket(int domain, int type, int protocol) noexcept {
    const bool refuse = failing == (type == SOCK_DGRAM ? "socket udp" : "socket tcp");
    return refuse ? refusedWith(EAFNOSUPPORT) : realSocket(domain, type, protocol);
}

int wrapBind(int descriptor, const sockaddr* address, socklen_t size) noexcept {
    const auto* wanted = reinterpret_cast<const sockaddr_in*>(address);
    EXPECT_EQ(wanted->sin_family, AF_INET);
    EXPECT_EQ(wanted->sin_port, 0);
    EXPECT_EQ(wanted->sin_addr.s_addr, htonl(INADDR_LOOPBACK));
    EXPECT_EQ(size, 16U);
    return fails("bind", descriptor) ? refusedWith(EADDRINUSE) : realBind(descriptor, address, size);
}

int wrapListen(int descriptor, int backlog) noexcept {
    EXPECT_EQ(backlog, 128);
    return fails("listen", descriptor) ? refusedWith(EADDRINUSE) : realListen(descriptor, backlog);
}

SVCXPRT* wrapUdpCreate(int descriptor) {
    return fails("create", descriptor) ? nullptr : realUdpCreate(descriptor);
}

SVCXPRT* wrapTcpCreate(int descriptor, u_int sendSize, u_int receiveSize) {
    return fails("create", descriptor) ? nullptr : realTcpCreate(descriptor, sendSize, receiveSize);
}

int wrapSelect(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout) {
    EXPECT_EQ(count, 1024);
    EXPECT_TRUE(timeout->tv_sec == 1 && timeout->tv_usec == 0);
    if (selectInterrupted > 0) {
        --selectInterrupted;
        return refusedWith(EINTR);
    }
    if (selectFails) {
        return refusedWith(EBADF);
    }
    timeout->tv_sec = 0;  // an idle turn of the loop need not take its second here
    timeout->tv_usec = 1000;
    return realSelect(count, read, write, except, timeout);
}

}  // extern "C"

namespace {

void* endAtOnce(void*) {
    return nullptr;
}

void* loopUntilInterrupted(void* check) {
    while ((*static_cast<int (**)()>(check))() == 0) {
        std::this_thread::yield();
    }
    return nullptr;
}

std::atomic<bool> released{false};

void* waitForRelease(void*) {
    released.wait(false);
    return nullptr;
}

void dispatchNothing(svc_req*, SVCXPRT*) {}

std::string stderrOf(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

int descriptorsOpen() {
    int open = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        open += fcntl(descriptor, F_GETFD) == -1 ? 0 : 1;
    }
    return open;
}

}  // namespace

TEST(Proxy, startsAgainOnlyAfterItsThreadIsJoined) {
    RPCProxy proxy(endAtOnce, "onuqos_mng");
    EXPECT_TRUE(proxy.isStopped());
    EXPECT_TRUE(proxy.stop(true));
    EXPECT_TRUE(proxy.stop(false));
    const std::string told = stderrOf([&proxy] {
        EXPECT_TRUE(proxy.start());
        EXPECT_FALSE(proxy.start());
        EXPECT_TRUE(standin::threads::awaitEnd("onuqos_mng", kPatience));
        EXPECT_FALSE(proxy.start());
        EXPECT_TRUE(proxy.isStopped());
        EXPECT_TRUE(proxy.start());
        EXPECT_TRUE(proxy.stop(false));
        EXPECT_TRUE(proxy.start());
        while (!proxy.stop(true)) {
        }
    });
    EXPECT_EQ(told, "");
}

TEST(Proxy, interruptsARoutineThatChecksForIt) {
    RPCProxy proxy(loopUntilInterrupted, "checks");
    EXPECT_FALSE(standin::threads::awaitEnd("checks", std::chrono::milliseconds(0))) << "not begun yet";
    ASSERT_TRUE(proxy.start());
    EXPECT_TRUE(standin::threads::awaitRunning("checks", kPatience));
    EXPECT_FALSE(proxy.isStopped());
    EXPECT_TRUE(proxy.stop(false));
    EXPECT_TRUE(proxy.isStopped());
    {
        RPCProxy destroyed(loopUntilInterrupted, "destroyed");
        ASSERT_TRUE(destroyed.start());
    }
    EXPECT_TRUE(standin::threads::awaitEnd("destroyed", kPatience));
}

TEST(Proxy, aTimedStopGivesUpOnARoutineThatDoesNot) {
    RPCProxy proxy(waitForRelease, "deaf");
    ASSERT_TRUE(proxy.start());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(proxy.stop(true));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(90));
    released = true;
    released.notify_one();
    EXPECT_TRUE(proxy.stop(false));
}

TEST(Proxy, runsTheReceiveLoopForTwoNames) {
    for (const std::string name : {"BLLManager_mng", "dhcpra_fun"}) {
        const std::string prefix = "[" + std::to_string(getpid()) + "] " + name + ": ";
        const std::string started = prefix + "Starting main RPC loop - custom made.\n";
        selectInterrupted = 3;
        EXPECT_EQ(stderrOf([&name] {
                      RPCProxy proxy(endAtOnce, name);
                      ASSERT_TRUE(proxy.start());
                      while (selectInterrupted > 0 && !proxy.isStopped()) {
                      }
                      EXPECT_FALSE(proxy.isStopped()) << "an interrupted select ends nothing";
                      EXPECT_TRUE(proxy.stop(false));
                  }),
                  started + prefix + "RPC main loop stopping.\n");
        selectFails = true;
        EXPECT_EQ(stderrOf([&name] {
                      RPCProxy proxy(endAtOnce, name);
                      ASSERT_TRUE(proxy.start());
                      EXPECT_TRUE(standin::threads::awaitEnd(name, kPatience));
                  }),
                  started + prefix + "RPC main loop stopping (9 - Bad file descriptor).\n");
        selectFails = false;
    }
}

TEST(Registration, tellsEachFailureAndGoesOnWithTheOtherTransport) {
    const std::string service = "RPC service 0x20000099/536871065, version 7";
    const std::string noFamily = " (97 - Address family not supported by protocol).";
    const std::string inUse = " (98 - Address already in use).";
    struct Row {
        std::string failing;
        std::string told;
        std::vector<int> registered;
        int descriptors;  ///< that stay open
    };
    const std::vector<int> both{IPPROTO_UDP, IPPROTO_TCP};
    // clang-format off
    const Row rows[] = {
        {"nothing", "", both, 2},
        {"socket udp", "Cannot create UDP socket for " + service + noFamily, {IPPROTO_TCP}, 1},
        {"bind udp", "Cannot bind UDP socket for " + service + inUse, {IPPROTO_TCP}, 1},
        {"create udp", "Cannot create UDP " + service + ".", {IPPROTO_TCP}, 1},
        {"register udp", "Cannot register UDP " + service + ".", both, 2},
        {"socket tcp", "Cannot create TCP socket for " + service + noFamily, {IPPROTO_UDP}, 1},
        {"bind tcp", "Cannot bind TCP socket for " + service + inUse, {IPPROTO_UDP}, 1},
        {"listen tcp", "Cannot set TCP socket for " + service + " to listen mode" + inUse, {IPPROTO_UDP}, 1},
        {"create tcp", "Cannot create TCP " + service + ".", {IPPROTO_UDP}, 1},
        {"register tcp", "Cannot register TCP " + service + ".", both, 2},
    };
    // clang-format on
    rpcProxyRegisterSvc(kProgram, 7, dispatchNothing);  // opens what all connections share
    for (const Row& row : rows) {
        SCOPED_TRACE(row.failing);
        failing = row.failing;
        portmapper::calls.clear();
        portmapper::refused = failing == "register udp"   ? IPPROTO_UDP
                              : failing == "register tcp" ? IPPROTO_TCP
                                                          : 0;
        const int before = descriptorsOpen();
        const std::string told = stderrOf([] { rpcProxyRegisterSvc(kProgram, 7, dispatchNothing); });
        EXPECT_EQ(descriptorsOpen() - before, row.descriptors);
        failing.clear();
        portmapper::refused = 0;
        const std::regex line(R"(^rte/BLL/core/rpcProxy:[1-9]\d* )");
        EXPECT_EQ(std::regex_replace(told, line, "told: "),
                  row.told.empty() ? "" : "told: " + row.told + "\n");
        std::vector<Call> calls{{"unset", kProgram, 7}};
        for (const int protocol : row.registered) {
            calls.push_back({"set", kProgram, 7, protocol, portmapper::portOf(protocol)});
        }
        EXPECT_EQ(portmapper::calls, calls);
    }
}
