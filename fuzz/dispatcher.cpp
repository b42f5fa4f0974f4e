// The dispatcher of the RPC program: an input is a sequence of calls, which a transport in memory hands over.

#include "onuqos/rpc/dispatch.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

#include "callSequence.h"
#include "check.h"
#include "olt.h"

namespace fuzz {
namespace {

/// What the library's UDP transport leaves for a result beside the header of the reply.
constexpr std::size_t kReplyRoom = UDPMSGSIZE - 24 - MAX_AUTH_BYTES;

// What the program may answer; every result record ends with one of these.
constexpr std::array<std::uint32_t, 12> kFlowResults{
    rpcOnuFlowProfileResOk,       rpcOnuFlowProfileResError,         rpcOnuFlowProfileResTableFull,
    rpcOnuFlowProfileResNotFound, rpcOnuFlowProfileResPartOfService, rpcOnuFlowProfileResApplied,
    rpcOnuFlowProfileResExists,   rpcOnuFlowProfileResGuarAbovePeak, rpcOnuFlowProfileResBadName,
    rpcOnuFlowProfileResNoMore,   rpcOnuFlowProfileResOutOfRange,    rpcOnuFlowProfileResWrongIntf};
constexpr std::array<std::uint32_t, 15> kTContResults{rpcTContProfileResOk,
                                                      rpcTContProfileResError,
                                                      rpcTContProfileResTableFull,
                                                      rpcTContProfileResNotFound,
                                                      rpcTContProfileResPartOfService,
                                                      rpcTContProfileResApplied,
                                                      rpcTContProfileResRateError,
                                                      rpcTContProfileResExists,
                                                      rpcTContProfileResBadName,
                                                      rpcTContProfileResNoMore,
                                                      rpcTContProfileResOutOfRange,
                                                      rpcTContProfileResWrongIntf,
                                                      rpcTContProfileResDuplicateTContId,
                                                      rpcTContProfileResDuplicateVirtualPortId,
                                                      rpcTContProfileResReserved};

/// The transport of one call. The argument lies in a block of its own size, so that reading past it is seen.
class MemoryTransport {
public:
    explicit MemoryTransport(const Call& call)
        : offset_(call.odd ? 1 : 0),
          size_(call.argument.size()),
          block_(std::make_unique<char[]>(offset_ + size_)) {
        std::ranges::copy(call.argument, block_.get() + offset_);
        operations_.xp_getargs = decode;
        operations_.xp_reply = reply;
        operations_.xp_freeargs = free;
        transport_.xp_ops = &operations_;
        transport_.xp_p1 = this;
    }
    MemoryTransport(const MemoryTransport&) = delete;
    MemoryTransport& operator=(const MemoryTransport&) = delete;
    ~MemoryTransport() = default;

    SVCXPRT* transport() { return &transport_; }

    /// The answer to the call, of which there is exactly one; the encoded result if it succeeded.
    std::optional<std::string_view> answer(const Procedure* procedure, bool isNull) const {
        require(answers_ == 1, "a call gets exactly one answer");
        require(freed_ == (decoded_ ? 1 : 0), "what was decoded is released once");
        if (procedure == nullptr) {
            require(status_ == (isNull ? SUCCESS : PROC_UNAVAIL), "a procedure that is not there is refused");
        } else {
            require(status_ == (decoded_ ? SUCCESS : GARBAGE_ARGS), "what decodes is answered");
        }
        return status_ == SUCCESS ? std::optional(std::string_view(room_.data(), resultSize_)) : std::nullopt;
    }

private:
    static MemoryTransport& of(SVCXPRT* transport) {
        return *static_cast<MemoryTransport*>(transport->xp_p1);
    }

    static bool_t decode(SVCXPRT* transport, xdrproc_t routine, void* argument) {
        MemoryTransport& self = of(transport);
        XDR xdrs;
        xdrmem_create(&xdrs, self.block_.get() + self.offset_, static_cast<u_int>(self.size_), XDR_DECODE);
        self.decoded_ = routine(&xdrs, argument) != FALSE;
        return self.decoded_ ? TRUE : FALSE;
    }

    static bool_t reply(SVCXPRT* transport, rpc_msg* message) {
        MemoryTransport& self = of(transport);
        const accepted_reply& accepted = message->rm_reply.rp_acpt;
        ++self.answers_;
        self.status_ = accepted.ar_stat;
        if (accepted.ar_stat == SUCCESS) {
            XDR xdrs;
            xdrmem_create(&xdrs, self.room_.data(), static_cast<u_int>(self.room_.size()), XDR_ENCODE);
            require(accepted.ar_results.proc(&xdrs, accepted.ar_results.where), "a result can be encoded");
            self.resultSize_ = xdr_getpos(&xdrs);
        }
        return TRUE;
    }

    static bool_t free(SVCXPRT* transport, xdrproc_t routine, void* argument) {
        ++of(transport).freed_;
        xdr_free(routine, argument);
        return TRUE;
    }

    std::size_t offset_;
    std::size_t size_;
    std::unique_ptr<char[]> block_;
    std::array<char, kReplyRoom> room_;
    std::size_t resultSize_ = 0;
    int answers_ = 0;
    int freed_ = 0;
    bool decoded_ = false;
    accept_stat status_{};
    std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>> operations_{};
    SVCXPRT transport_{};
};

const Procedure* procedureOf(std::uint32_t number) {
    const auto all = onuqosProcedures();
    const auto found = std::ranges::find(all, number, &Procedure::number);
    return found == all.end() ? nullptr : &*found;
}

/// The code at the end of a result.
std::uint32_t codeOf(const Procedure& procedure, std::string_view result) {
    require(result.size() >= BYTES_PER_XDR_UNIT, "a result holds its code");
    std::uint32_t code = 0;
    std::memcpy(&code, result.data() + result.size() - sizeof code, sizeof code);
    code = ntohl(code);
    require(procedure.name.starts_with("rpc_onuflowprofile_")
                ? std::ranges::find(kFlowResults, code) != kFlowResults.end()
                : std::ranges::find(kTContResults, code) != kTContResults.end(),
            "only listed codes are sent");
    return code;
}

/// Whether a refusal may come after some of the steps were carried out.
bool keepsSteps(const Procedure& procedure) {
    return procedure.name.ends_with("_create_and_set");
}

bool onlyReads(const Procedure& procedure) {
    return procedure.name.ends_with("_get");
}

std::uint64_t calls = 0;

/// Tells how many calls were made, of which an execution has any number.
const struct Count {
    ~Count() { std::fprintf(stderr, "calls: %llu\n", static_cast<unsigned long long>(calls)); }
} count;

/// An OLT on which a service is bound.
void start() {
    Olt& olt = Olt::instance();
    olt.startWithProfiles();
    require(olt.module().onuQosServiceApply(101, "internet", "hsi", "gold", 1, servprofile::onuTermPointType0,
                                            1) == onuQos::onuQosResOk,
            "a service is bound");
}

/// Returns whether the call may have changed anything.
bool carryOut(const Call& call) {
    MemoryTransport transport(call);
    svc_req request{};
    request.rq_prog = RPC_ONUQOS_PROG;
    request.rq_vers = RPC_ONUQOS_VERS;
    request.rq_proc = call.procedure;
    request.rq_xprt = transport.transport();
    rpcOnuqosDispatch(&request, transport.transport());
    ++calls;

    const Procedure* procedure = procedureOf(call.procedure);
    const auto result = transport.answer(procedure, call.procedure == NULLPROC);
    return procedure != nullptr && result &&
           (codeOf(*procedure, *result) == 0 ? !onlyReads(*procedure) : keepsSteps(*procedure));
}

/// The tables after the last call.
onuQosTables end() {
    onuQosTables tables = Olt::instance().tables();
    Olt::requireMirrored(tables);
    return tables;
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::start();
    static const auto committed = fuzz::end().onuQosOltCacMap;
    std::string_view input(reinterpret_cast<const char*>(data), size);
    // Looking at the tables around each call would take most of the time, so some inputs are repeated
    // instead.
    const bool isRepeated = std::ranges::count(input, '\0') % 4 == 0;
    std::vector<fuzz::Call> changes;
    while (input.size() >= fuzz::kCallHeader) {
        const fuzz::Call call = fuzz::takeCall(input);
        if (fuzz::carryOut(call)) {
            changes.push_back(call);
        }
    }
    const onuQosTables tables = fuzz::end();
    fuzz::require(tables.onuQosOltCacMap == committed, "what is committed changes with bindings only");
    if (isRepeated) {
        fuzz::start();
        for (const fuzz::Call& call : changes) {
            fuzz::require(fuzz::carryOut(call), "a change is answered the same when it is repeated");
        }
        fuzz::require(fuzz::end() == tables, "refusals and reading change nothing");
    }
    return 0;
}
