#pragma once

#include <netinet/in.h>
#include <rpc/rpc.h>
#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "rte/BLL/core/adoptedTransport.h"
#include "rte/BLL/core/callMessage.h"

namespace rte {

/// Serves the datagrams of a UDP transport of the RPC library. Up to 16 are taken, served and answered at a
/// time, and up to 64 before the receive loop looks at other transports. Each is decoded within its own
/// length; the library's own operations decode from a buffer in which the end of an earlier request may lie
/// after a short one. Datagrams of any length are taken whole; a reply has room for as many bytes as with
/// the library.
class DatagramOperations : public AdoptedTransport {
public:
    explicit DatagramOperations(SVCXPRT* transport);
    ~DatagramOperations() override;

private:
    static constexpr std::size_t kBatch = 16;
    static constexpr int kBatchesOfTurn = 4;
    static constexpr std::size_t kDatagramMax = 65'536;

    static DatagramOperations& of(const SVCXPRT* transport);
    static bool_t receive(SVCXPRT* transport, rpc_msg* message);
    static xprt_stat status(SVCXPRT* transport);
    static bool_t decodeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments);
    static bool_t reply(SVCXPRT* transport, rpc_msg* message);
    static bool_t freeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments);

    void restore(SVCXPRT* transport) override;
    void receiveBatch(int descriptor);
    bool begin(SVCXPRT* transport, std::size_t index, rpc_msg* message);
    void sendReplies(int descriptor);

    /// How many replies from `first` on are of one length and for one client. They pass through the kernel as
    /// one, which takes them apart where they are received.
    std::size_t runFrom(std::size_t first) const;

    /// Makes a message of each run; gives their number.
    std::size_t gatherRuns();
    static void sendSingly(int descriptor, const msghdr& message);

    /// Datagrams that are moved by one system call.
    struct Batch {
        explicit Batch(std::size_t room);

        std::unique_ptr<char[]> bytes;  ///< pages that no datagram reached take no memory
        std::array<sockaddr_in, kBatch> peers{};
        std::array<iovec, kBatch> pieces{};
        std::array<mmsghdr, kBatch> headers{};
        std::size_t count = 0;
    };
    Batch calls_;
    std::size_t next_ = 0;  ///< of the calls, to be served
    int batches_ = 0;       ///< of the turn
    CallMessage call_;
    Batch replies_;
    struct Run {
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(std::uint16_t))> control{};
    };
    bool segments_ = false;  ///< whether the kernel takes a run as one
    std::array<Run, kBatch> runs_{};
    std::array<mmsghdr, kBatch> runHeaders_{};
};

}  // namespace rte
