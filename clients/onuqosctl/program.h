#pragma once

#include <onuqos.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

namespace common {
class RpcClient;
}

namespace onuqosctl {

/// Where the program is asked, always on the loopback address.
struct Endpoint {
    bool udp = false;
    std::optional<std::uint16_t> port;  // without it the portmapper tells
    double timeoutSeconds = 5;          // for one request, connecting included
};

/// The number of an enumerator that came over the wire, where any 32-bit value can stand.
template <typename Enumeration>
std::int32_t wireNumber(const Enumeration& value) {
    static_assert(sizeof(Enumeration) == sizeof(std::int32_t));
    std::int32_t number = 0;
    std::memcpy(&number, &value, sizeof number);
    return number;
}

/// The result code of a reply, which is the code itself or a record that ends with it.
template <typename Reply>
std::int32_t resultOf(const Reply& reply) {
    if constexpr (requires { reply.res; }) {
        return wireNumber(reply.res);
    } else {
        return wireNumber(reply);
    }
}

/// The RPC program, called by its generated stubs. Connects with the first request, and anew with the one
/// that follows a lost connection. Not for use by several threads: a reply lives in the stub and lasts until
/// the same procedure is asked again.
class Program {
public:
    explicit Program(const Endpoint& endpoint);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Calls a procedure that only reads. Over UDP it is asked again each second until the deadline.
    /// Throws common::NoAnswer.
    template <typename Stub, typename... Arguments>
    auto& ask(Stub stub, const Arguments&... arguments) {
        return call(Repeat::yes, stub, arguments...);
    }

    /// Calls a procedure that changes something: the request is sent once, so that it is carried out once.
    /// Throws common::NoAnswer.
    template <typename Stub, typename... Arguments>
    auto& tell(Stub stub, const Arguments&... arguments) {
        return call(Repeat::no, stub, arguments...);
    }

    /// Calls the null procedure; gives the time the answer took. Throws common::NoAnswer.
    std::chrono::duration<double, std::milli> ping();

private:
    enum class Repeat { no, yes };

    template <typename Stub, typename... Arguments>
    auto& call(Repeat repeat, Stub stub, const Arguments&... arguments) {
        CLIENT* client = prepare(repeat);
        auto* reply = stub(argument(arguments)..., client);
        if (reply == nullptr) {
            fail(repeat);
        }
        return *reply;
    }

    // The stubs take names as plain char pointers and leave them alone.
    static char* argument(const std::string& name) { return const_cast<char*>(name.c_str()); }
    template <typename Value>
    static Value argument(const Value& value) {
        return value;
    }

    CLIENT* prepare(Repeat repeat);
    [[noreturn]] void fail(Repeat repeat);

    Endpoint endpoint_;
    std::unique_ptr<common::RpcClient> connection_;
};

}  // namespace onuqosctl
