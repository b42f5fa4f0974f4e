// A load on one procedure of the RPC program: calls per second and how long a call takes.

#include <arpa/inet.h>
#include <onuqos.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// Room for the largest record of the program and its header, bytes.
constexpr unsigned int kBuffer = 8192;

/// A call and what it needs: `prepare` runs once with a client of its own.
struct Load {
    rpcproc_t procedure;
    xdrproc_t argumentRoutine;
    const void* argument;
    xdrproc_t resultRoutine;
    std::size_t resultSize;
};

template <typename Routine>
xdrproc_t xdr(Routine routine) {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(routine));
}

/// A client on a socket of its own: the library walks the reserved ports at each connect of root's otherwise.
class Client {
public:
    Client(bool tcp, std::uint16_t port) {
        sockaddr_in server{};
        server.sin_family = AF_INET;
        server.sin_port = htons(port);
        server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        descriptor_ = socket(AF_INET, tcp ? SOCK_STREAM : SOCK_DGRAM, 0);
        if (descriptor_ < 0 ||
            connect(descriptor_, reinterpret_cast<sockaddr*>(&server), sizeof server) != 0) {
            throw std::runtime_error(std::string("cannot connect: ") + std::strerror(errno));
        }
        client_ =
            tcp ? clnttcp_create(&server, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, &descriptor_, kBuffer, kBuffer)
                : clntudp_bufcreate(&server, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, {1, 0}, &descriptor_, kBuffer,
                                    kBuffer);
        if (client_ == nullptr) {
            throw std::runtime_error(clnt_spcreateerror("cannot make an RPC client"));
        }
        client_->cl_auth = authnone_create();
    }
    ~Client() {
        clnt_destroy(client_);
        close(descriptor_);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void call(const Load& load, void* result) {
        const clnt_stat status =
            clnt_call(client_, load.procedure, load.argumentRoutine, const_cast<void*>(load.argument),
                      load.resultRoutine, static_cast<char*>(result), (timeval{5, 0}));
        if (status != RPC_SUCCESS) {
            throw std::runtime_error(clnt_sperrno(status));
        }
    }

private:
    int descriptor_ = -1;
    CLIENT* client_ = nullptr;
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

int main(int argc, char** argv) {
    CLI::App app(
        "Calls one procedure of the onuqos RPC program for a while and tells how fast it was answered");
    std::string procedure = "null";
    std::string transport = "tcp";
    std::uint16_t port = 0;
    int clients = 1;
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

    const Load createTCont{100, xdr(xdr_wrapstring), &name, xdr(xdr_rpcTContProfileRes),
                           sizeof(rpcTContProfileRes)};
    const Load createFlow{1, xdr(xdr_wrapstring), &name, xdr(xdr_rpcOnuFlowProfileRes),
                          sizeof(rpcOnuFlowProfileRes)};
    const Load loads[] = {
        {0, xdr(xdr_void), nullptr, xdr(xdr_void), 0},
        {104, xdr(xdr_wrapstring), &name, xdr(xdr_rpcTContProfileInfoRes), sizeof(rpcTContProfileInfoRes)},
        createTCont,
        {115, xdr(xdr_rpc_tcontprofile_create_and_set_1_argument), &tCont, xdr(xdr_rpcTContProfileRes),
         sizeof(rpcTContProfileRes)},
        {5, xdr(xdr_wrapstring), &name, xdr(xdr_rpcOnuFlowProfileInfoRes), sizeof(rpcOnuFlowProfileInfoRes)},
        {12, xdr(xdr_rpc_onuflowprofile_create_and_set_1_argument), &flow, xdr(xdr_rpcOnuFlowProfileRes),
         sizeof(rpcOnuFlowProfileRes)}};
    const char* const names[] = {"null",
                                 "tcontprofile_get",
                                 "tcontprofile_create",
                                 "tcontprofile_create_and_set",
                                 "onuflowprofile_get",
                                 "onuflowprofile_create_and_set"};
    const Load& load = loads[std::find(std::begin(names), std::end(names), procedure) - std::begin(names)];

    try {
        {
            // The profile that reads find and writes change; creating it again is answered "exists".
            Client client(transport == "tcp", port);
            rpcOnuFlowProfileInfoRes scratch{};
            client.call(createTCont, &scratch);
            client.call(createFlow, &scratch);
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
                    rpcOnuFlowProfileInfoRes result{};
                    for (auto before = Clock::now(); before < end;) {
                        std::memset(static_cast<void*>(&result), 0, load.resultSize);
                        client.call(load, &result);
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
        const auto calls = static_cast<double>(all.size());
        const auto quantile = [&all, calls](double share) {
            return all[static_cast<std::size_t>(share * (calls - 1))];
        };
        std::printf(
            "{\"procedure\": \"%s\", \"transport\": \"%s\", \"clients\": %d, \"calls\": %.0f, "
            "\"callsPerSecond\": %.0f, \"p50us\": %.1f, \"p99us\": %.1f, \"serverCpuUsPerCall\": %.2f}\n",
            procedure.c_str(), transport.c_str(), clients, calls, calls / elapsed, quantile(0.5),
            quantile(0.99), processor / calls * 1e6);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "rpcLoad: %s\n", error.what());
        return 1;
    }
    return 0;
}
