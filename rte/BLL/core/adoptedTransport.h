#pragma once

#include <rpc/rpc.h>

#include <atomic>
#include <type_traits>

namespace rte {

/// The table of operations that a transport of the RPC library has.
using Operations = std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>>;

/// A transport that the RPC library made and that works by operations of ours: those that a subclass puts
/// into the table, and the library's own for the rest. What the library or a host does with the transport is
/// the same as ever; when it is destroyed it is the library's again first, which tells its kinds of
/// transports apart by their operations.
///
/// The object outlives the transport, and destroys it if nobody else has. Operations run on the thread of the
/// receive loop; the object is made on the thread that registers a program and ends while no loop runs.
class AdoptedTransport : private Operations {
public:
    AdoptedTransport(const AdoptedTransport&) = delete;
    AdoptedTransport& operator=(const AdoptedTransport&) = delete;
    virtual ~AdoptedTransport() = default;

protected:
    explicit AdoptedTransport(SVCXPRT* transport);

    Operations& operations() { return *this; }
    const Operations& library() const { return *library_; }

    /// The object that `transport` works by.
    static AdoptedTransport& of(const SVCXPRT* transport) {
        // The loop may run already when the transport is adopted on another thread.
        const Operations* table = __atomic_load_n(&transport->xp_ops, __ATOMIC_ACQUIRE);
        return static_cast<AdoptedTransport&>(const_cast<Operations&>(*table));
    }

    /// Has the transport work by the table from here on.
    void adopt();

    /// Destroys the transport, for the destructor of a subclass.
    void destroyTransport();

private:
    /// Takes back what a subclass has put into the transport and the library would free.
    virtual void restore(SVCXPRT*) {}

    static void destroy(SVCXPRT* transport);

    std::atomic<SVCXPRT*> transport_;  ///< null once it is destroyed
    const Operations* library_;
};

}  // namespace rte
