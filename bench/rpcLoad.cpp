// A load on one procedure of the RPC program: calls per second and how long a call takes.

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <onuqos.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// Room for the largest message of the program, bytes.
constexpr std::size_t kBuffer = 8192;

/// A call: its procedure and argument.
struct Load {
    rpcproc_t procedure;
    xdrproc_t argumentRoutine;
    void* argument;
};

template <typename Routine>
xdrproc_t xdr(Routine routine) {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(routine));
}

/// A client on a socket of its own. It encodes its calls once, sends a window of them at a time, and looks at
/// no more of a reply than whether the call was carried out, so that most of what is measured is the server.
class Client {
public:
    Client(bool tcp, std::uint16_t port) : tcp_(tcp) {
        sockaddr_in server{};
        server.sin_family = AF_INET;
        server.sin_port = htons(port);
        server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        descriptor_ = socket(AF_INET, tcp ? SOCK_STREAM : SOCK_DGRAM, 0);
        const timeval patience{.tv_sec = 5, .tv_usec = 0};
        const int on = 1;
        if (descriptor_ < 0 ||
            setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0 ||
            (tcp && setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0) ||
            connect(descriptor_, reinterpret_cast<sockaddr*>(&server), sizeof server) != 0) {
            throw std::runtime_error(std::string("cannot connect: ") + std::strerror(errno));
        }
    }
    ~Client() { close(descriptor_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void encode(const Load& load, std::size_t window) {
        std::array<char, kBuffer> message{};
        XDR stream;
        xdrmem_create(&stream, message.data() + kMark, kBuffer - kMark, XDR_ENCODE);
        u_int header[] = {0,
                          CALL,
                          RPC_MSG_VERSION,
                          RPC_ONUQOS_PROG,
                          RPC_ONUQOS_VERS,
                          static_cast<u_int>(load.procedure),
                          AUTH_NONE,
                          0,
                          AUTH_NONE,
                          0};
        const bool whole =
            std::ranges::all_of(header,
                                [&stream](u_int& word) { return xdr_u_int(&stream, &word) != FALSE; }) &&
            load.argumentRoutine(&stream, load.argument) != FALSE;
        const u_int length = xdr_getpos(&stream);
        xdr_destroy(&stream);
        if (!whole) {
            throw std::runtime_error("the call cannot be encoded");
        }
        size_ = kMark + length;
        put(message.data(), kLastFragment | length);
        calls_.clear();
        for (std::size_t i = 0; i < window; ++i) {
            calls_.insert(calls_.end(), message.begin(), message.begin() + size_);
        }
    }

    /// Makes the window's calls and waits for their replies.
    void call() {
        const std::uint32_t first = transaction_ + 1;
        for (char* message = calls_.data(); message != calls_.data() + calls_.size(); message += size_) {
            put(message + kMark, ++transaction_);
            if (!tcp_) {
                transmit(message + kMark, static_cast<std::size_t>(size_) - kMark);
            }
        }
        if (tcp_) {
            transmit(calls_.data(), calls_.size());
        }
        for (std::uint32_t awaited = first; awaited != transaction_ + 1; ++awaited) {
            tcp_ ? takeRecord(awaited) : takeDatagram(awaited);
        }
    }

private:
    static constexpr std::ptrdiff_t kMark = 4;  ///< the record mark of TCP, bytes
    static constexpr std::uint32_t kLastFragment = 0x80000000;

    static void put(char* at, std::uint32_t value) {
        value = htonl(value);
        std::memcpy(at, &value, sizeof value);
    }

    static std::uint32_t word(const char* at) {
        std::uint32_t value = 0;
        std::memcpy(&value, at, sizeof value);
        return ntohl(value);
    }

    /// Transaction, REPLY, MSG_ACCEPTED, an empty verifier, SUCCESS.
    static void check(const char* reply, std::uint32_t transaction) {
        for (const std::uint32_t expected : {transaction, std::uint32_t{REPLY}, std::uint32_t{MSG_ACCEPTED},
                                             std::uint32_t{AUTH_NONE}, 0U, std::uint32_t{SUCCESS}}) {
            if (word(reply) != expected) {
                throw std::runtime_error("the server did not carry out the call");
            }
            reply += sizeof expected;
        }
    }

    void transmit(const char* data, std::size_t size) const {
        if (send(descriptor_, data, size, 0) != static_cast<ssize_t>(size)) {
            throw std::runtime_error(std::string("cannot send: ") + std::strerror(errno));
        }
    }

    void receive() {
        const ssize_t bytes = recv(descriptor_, replies_.data() + received_, replies_.size() - received_, 0);
        if (bytes <= 0) {
            throw std::runtime_error("no answer");
        }
        received_ += static_cast<std::size_t>(bytes);
    }

    void takeDatagram(std::uint32_t transaction) {
        received_ = 0;
        receive();
        check(replies_.data(), transaction);
    }

    void takeRecord(std::uint32_t transaction) {
        const auto whole = [this] {
            const std::size_t held = received_ - taken_;
            return held >= kMark && held - kMark >= (word(replies_.data() + taken_) & ~kLastFragment);
        };
        while (!whole()) {
            if (taken_ > replies_.size() / 2) {
                std::memmove(replies_.data(), replies_.data() + taken_, received_ - taken_);
                received_ -= std::exchange(taken_, 0);
            }
            receive();
        }
        check(replies_.data() + taken_ + kMark, transaction);
        taken_ += kMark + (word(replies_.data() + taken_) & ~kLastFragment);
        if (taken_ == received_) {
            taken_ = received_ = 0;
        }
    }

    bool tcp_;
    int descriptor_ = -1;
    std::vector<char> calls_;
    std::ptrdiff_t size_ = 0;  ///< of one call with its mark
    std::array<char, 16 * kBuffer> replies_{};
    std::size_t received_ = 0;
    std::size_t taken_ = 0;
    std::uint32_t transaction_ = 0;
};

/// Processor time of a process, seconds.
double processorTime(int pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string field;
    double ticks = 0;
    for (int number = 1; stat >> field; ++number) {
        if (number == 14 || number == 15) {
            ticks += std::stod(field);
        }
    }
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double microseconds(Clock::duration time) {
    return std::chrono::duration<double, std::micro>(time).count();
}

}  // namespace

int main(int argc, char** argv) try {
    CLI::App app(
        "Calls one procedure of the onuqos RPC program for a while and tells how fast it was answered");
    std::string procedure = "null";
    std::string transport = "tcp";
    std::uint16_t port = 0;
    int clients = 1;
    int window = 1;
    double seconds = 1;
    int serverPid = 0;
    app.add_option("--procedure", procedure)
        ->check(
            CLI::IsMember({"null", "tcontprofile_get", "tcontprofile_create", "tcontprofile_create_and_set",
                           "onuflowprofile_get", "onuflowprofile_create_and_set"}))
        ->capture_default_str();
    app.add_option("--transport", transport)->check(CLI::IsMember({"tcp", "udp"}))->capture_default_str();
    app.add_option("--port", port, "Of the server on 127.0.0.1")->required();
    app.add_option("--clients", clients)->check(CLI::Range(1, 64))->capture_default_str();
    app.add_option("--window", window, "Calls that a client sends before it waits for their replies")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
    app.add_option("--seconds", seconds)->check(CLI::PositiveNumber)->capture_default_str();
    app.add_option("--server-pid", serverPid, "Process whose processor time a call is told");
    CLI11_PARSE(app, argc, argv);

    char nameBytes[] = "load";
    char* name = nameBytes;
    rpc_tcontprofile_create_and_set_1_argument tCont{};
    tCont.name = nameBytes;
    tCont.info.tContId = 2;
    tCont.info.maximumRate = 10240;
    tCont.mask = rpcTContProfileParmsTContId | rpcTContProfileParmsMaximumRate;
    rpc_onuflowprofile_create_and_set_1_argument flow{};
    flow.name = nameBytes;
    flow.info.rule.cVlan[1] = 0x30;
    flow.info.action.guarRateUs = 1024;
    flow.info.action.peakRateUs = 10240;
    flow.mask =
        rpcOnuFlowProfileParmsCVlan | rpcOnuFlowProfileParmsGuarRateUs | rpcOnuFlowProfileParmsPeakRateUs;

    const Load createTCont{rpc_tcontprofile_create, xdr(xdr_wrapstring), &name};
    const Load createFlow{rpc_onuflowprofile_create, xdr(xdr_wrapstring), &name};
    const Load loads[] = {
        {NULLPROC, xdr(xdr_void), nullptr},
        {rpc_tcontprofile_get, xdr(xdr_wrapstring), &name},
        createTCont,
        {rpc_tcontprofile_create_and_set, xdr(xdr_rpc_tcontprofile_create_and_set_1_argument), &tCont},
        {rpc_onuflowprofile_get, xdr(xdr_wrapstring), &name},
        {rpc_onuflowprofile_create_and_set, xdr(xdr_rpc_onuflowprofile_create_and_set_1_argument), &flow}};
    const char* const names[] = {"null",
                                 "tcontprofile_get",
                                 "tcontprofile_create",
                                 "tcontprofile_create_and_set",
                                 "onuflowprofile_get",
                                 "onuflowprofile_create_and_set"};
    const Load& load = loads[std::find(std::begin(names), std::end(names), procedure) - std::begin(names)];

    {
        // The profile that reads find and writes change; creating it again is answered "exists".
        Client client(transport == "tcp", port);
        for (const Load& creation : {createTCont, createFlow}) {
            client.encode(creation, 1);
            client.call();
        }
    }
    std::atomic<bool> failed{false};
    std::vector<std::vector<double>> times(static_cast<std::size_t>(clients));
    const double processorBefore = serverPid != 0 ? processorTime(serverPid) : 0;
    const auto start = Clock::now();
    const auto end =
        start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    std::vector<std::thread> threads;
    for (auto& mine : times) {
        threads.emplace_back([&] {
            try {
                Client client(transport == "tcp", port);
                client.encode(load, static_cast<std::size_t>(window));
                for (auto before = Clock::now(); before < end;) {
                    client.call();
                    const auto after = Clock::now();
                    mine.push_back(microseconds(after - before));
                    before = after;
                }
            } catch (const std::exception& error) {
                std::fprintf(stderr, "rpcLoad: %s\n", error.what());
                failed = true;
            }
        });
    }
    std::ranges::for_each(threads, [](std::thread& thread) { thread.join(); });
    if (failed) {
        return 1;
    }
    const double elapsed = microseconds(Clock::now() - start) / 1e6;
    const double processor = serverPid != 0 ? processorTime(serverPid) - processorBefore : 0;

    std::vector<double> all;
    std::ranges::for_each(times,
                          [&all](const auto& mine) { all.insert(all.end(), mine.begin(), mine.end()); });
    std::ranges::sort(all);
    const double calls = static_cast<double>(all.size()) * window;
    const auto quantile = [&all](double share) {
        return all[static_cast<std::size_t>(share * static_cast<double>(all.size() - 1))];
    };
    std::printf(
        "{\"procedure\": \"%s\", \"transport\": \"%s\", \"clients\": %d, \"window\": %d, \"calls\": "
        "%.0f, "
        "\"callsPerSecond\": %.0f, \"p50us\": %.1f, \"p99us\": %.1f, \"serverCpuUsPerCall\": %.2f}\n",
        procedure.c_str(), transport.c_str(), clients, window, calls, calls / elapsed, quantile(0.5),
        quantile(0.99), processor / calls * 1e6);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "rpcLoad: %s\n", error.what());
    return 1;
}
