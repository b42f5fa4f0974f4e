#include "clients/onuqosctl/program.h"

#include <cerrno>

#include "common/errors.h"
#include "common/rpcClient.h"

namespace onuqosctl {
namespace {

common::Clock::time_point deadlineAfter(double seconds) {
    return common::Clock::now() +
           std::chrono::duration_cast<common::Clock::duration>(std::chrono::duration<double>(seconds));
}

std::string seconds(double value) {
    std::string text = std::to_string(value);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
        text.pop_back();
    }
    return text + " s";
}

/// Whether the connection is still good: the server answered, or may yet.
bool leavesConnection(clnt_stat status) {
    switch (status) {
        case RPC_TIMEDOUT:
        case RPC_VERSMISMATCH:
        case RPC_AUTHERROR:
        case RPC_PROGUNAVAIL:
        case RPC_PROGVERSMISMATCH:
        case RPC_PROCUNAVAIL:
        case RPC_CANTDECODEARGS:
        case RPC_SYSTEMERROR:
            return true;
        default:
            return false;
    }
}

}  // namespace

Program::Program(const Endpoint& endpoint) : endpoint_(endpoint) {}

Program::~Program() = default;

CLIENT* Program::prepare(Repeat repeat) {
    const auto deadline = deadlineAfter(endpoint_.timeoutSeconds);
    if (!connection_) {
        const std::uint16_t port = endpoint_.port ? *endpoint_.port
                                                  : common::portFromPortmapper(endpoint_.udp, RPC_ONUQOS_PROG,
                                                                               RPC_ONUQOS_VERS, deadline);
        try {
            connection_ = std::make_unique<common::RpcClient>(endpoint_.udp, port, RPC_ONUQOS_PROG,
                                                              RPC_ONUQOS_VERS, deadline);
        } catch (const common::NoAnswer& error) {
            throw common::NoAnswer(std::string(error.what()) + ": is oltmgrd running, and is this its port?");
        }
    }
    const timeval total = common::timeLeft(deadline);
    connection_->setTimeouts(total, repeat == Repeat::yes ? timeval{1, 0} : timeval{total.tv_sec + 1, 0});
    return connection_->get();
}

void Program::fail(Repeat repeat) {
    const rpc_err error = connection_->lastError();
    const std::string where = std::string("127.0.0.1 ") + (endpoint_.udp ? "udp" : "tcp") + " port " +
                              std::to_string(connection_->port());
    if (!leavesConnection(error.re_status)) {
        connection_.reset();
    }
    const std::string doubt =
        repeat == Repeat::no ? "; the request may have been carried out all the same" : "";
    switch (error.re_status) {
        case RPC_TIMEDOUT:
            throw common::NoAnswer("no answer from " + where + " within " +
                                   seconds(endpoint_.timeoutSeconds) + doubt +
                                   "; is oltmgrd running, and is this its port?");
        case RPC_CANTENCODEARGS:
        case RPC_CANTDECODEARGS:
            throw common::UsageError(
                "the request is larger than the protocol carries: over UDP about 8700 bytes in all; a name "
                "over TCP 9000 bytes, in rename and copy about 65000");
        case RPC_PROGUNAVAIL:
        case RPC_PROGVERSMISMATCH:
        case RPC_PROCUNAVAIL:
            throw common::NoAnswer("what listens on " + where + " does not serve this request (" +
                                   clnt_sperrno(error.re_status) +
                                   "): is this the port of oltmgrd's ready line?");
        default:
            break;
    }
    if ((error.re_status == RPC_CANTSEND || error.re_status == RPC_CANTRECV) &&
        error.re_errno == ECONNREFUSED) {
        throw common::NoAnswer("nothing listens on " + where + ": is oltmgrd running, and is this its port?");
    }
    throw common::NoAnswer("no answer from " + where + " (" + clnt_sperrno(error.re_status) + ")" + doubt +
                           "; is oltmgrd running, and is this its port?");
}

std::chrono::duration<double, std::milli> Program::ping() {
    CLIENT* client = prepare(Repeat::no);
    const auto asked = common::Clock::now();
    if (rpc_onuqos_null_1(client) == nullptr) {
        fail(Repeat::yes);
    }
    return common::Clock::now() - asked;
}

}  // namespace onuqosctl
