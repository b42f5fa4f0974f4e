#include "dba.h"

namespace standin {

void Dba::bind(unsigned int onu, unsigned int tContId, std::optional<unsigned int> port,
               CommittedRates rates) {
    Pair& pair = pairs_.try_emplace(keyOf(onu, tContId), Pair{port, rates}).first->second;
    if (++pair.bindings == 1 && port) {
        CommittedRates& sum = ports_[*port];
        sum.fixed += rates.fixed;
        sum.assured += rates.assured;
    }
}

void Dba::unbind(unsigned int onu, unsigned int tContId) {
    const auto found = pairs_.find(keyOf(onu, tContId));
    if (found == pairs_.end() || --found->second.bindings > 0) {
        return;
    }
    if (const auto port = found->second.port) {
        CommittedRates& sum = ports_[*port];
        sum.fixed -= found->second.rates.fixed;
        sum.assured -= found->second.rates.assured;
    }
    pairs_.erase(found);
}

CommittedRates Dba::committed(unsigned int port) const {
    const auto found = ports_.find(port);
    return found != ports_.end() ? found->second : CommittedRates{};
}

}  // namespace standin
