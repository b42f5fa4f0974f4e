#include "rte/BLL/core/adoptedTransport.h"

namespace rte {

AdoptedTransport::AdoptedTransport(SVCXPRT* transport)
    : Operations(*transport->xp_ops), transport_(transport), library_(transport->xp_ops) {
    xp_destroy = destroy;
}

void AdoptedTransport::adopt() {
    const Operations* own = this;
    __atomic_store_n(&transport_.load()->xp_ops, own, __ATOMIC_RELEASE);
}

void AdoptedTransport::destroyTransport() {
    if (SVCXPRT* transport = transport_; transport != nullptr) {
        destroy(transport);
    }
}

void AdoptedTransport::destroy(SVCXPRT* transport) {
    AdoptedTransport& self = of(transport);
    self.transport_ = nullptr;
    self.restore(transport);
    transport->xp_ops = self.library_;
    transport->xp_ops->xp_destroy(transport);
}

}  // namespace rte
