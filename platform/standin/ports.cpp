#include "Ports.h"

#include <algorithm>
#include <map>
#include <string>

#include "Interfaces.h"
#include "call.h"
#include "hardware.h"
#include "registry.h"
#include "standin/error.h"

namespace standin {
namespace {

constexpr std::uint64_t kBytesPerKilobit = 125;

template <typename Use>
auto withPort(unsigned int interface, Use use) {
    return state<Registry>().with([&](Registry& registry) {
        InterfaceRecord* record = registry.find(interface);
        if (record == nullptr || !record->pon) {
            throw Error("there is no PON port with interface index " + std::to_string(interface));
        }
        return use(*record);
    });
}

/// What is left of `capacity`, bytes per second, when `committed`, kbit/s, is gone.
std::uint32_t leftOf(std::uint32_t capacity, std::uint64_t committed) {
    return static_cast<std::uint32_t>(capacity -
                                      std::min<std::uint64_t>(capacity, committed * kBytesPerKilobit));
}

ports::Available availableOn(const InterfaceRecord& record) {
    if (record.available) {
        return *record.available;
    }
    const CommittedRates committed = committedRates(record.pon->interface);
    return {.fixed = leftOf(*record.pon->capacityFixed, committed.fixed),
            .total = leftOf(*record.pon->capacityTotal, committed.fixed + committed.assured)};
}

std::optional<InterfaceRecord> portByIndex(unsigned int index) {
    return state<Registry>().with([index](const Registry& registry) -> std::optional<InterfaceRecord> {
        const auto interface = registry.ponPortByIndex(index);
        if (!interface) {
            return std::nullopt;
        }
        return *registry.find(*interface);
    });
}

}  // namespace

namespace ports {

void setDistances(unsigned int interface, std::uint32_t min, std::uint32_t max) {
    withPort(interface, [=](InterfaceRecord& record) {
        record.pon->minDistance = min;
        record.pon->maxDistance = max;
    });
}

void overrideAvailable(unsigned int interface, std::optional<Available> available) {
    withPort(interface, [=](InterfaceRecord& record) { record.available = available; });
}

}  // namespace ports
}  // namespace standin

using standin::call;
using standin::Operation;

int OltPort::getOMconfig(rpcOltPort& config) {
    if (const auto fault = call(Operation::getOMconfig, index_)) {
        return *fault;
    }
    const auto record = standin::portByIndex(index_);
    if (!record) {
        return 1;
    }
    config = {record->pon->minDistance, record->pon->maxDistance};
    return 0;
}

int OltPort::getAvailableBandwith(OltPortAvailableBanwith* available) {
    if (const auto fault = call(Operation::getAvailableBandwith, index_)) {
        return *fault;
    }
    const auto record = standin::portByIndex(index_);
    if (!record) {
        return 1;
    }
    const standin::ports::Available free = standin::availableOn(*record);
    *available = {free.fixed, free.total};
    return 0;
}

OltPort* OLTmanager::getOltPort(unsigned int const& index) {
    if (call(Operation::getOltPort, index) || !standin::portByIndex(index)) {
        return nullptr;
    }
    // Objects stay for ever: a caller may still hold one when the ports change.
    using OltPorts = standin::Guarded<std::map<unsigned int, OltPort>>;
    return standin::lasting<OltPorts>().with(
        [index](auto& oltPorts) { return &oltPorts.try_emplace(index, index).first->second; });
}

template class singleton<Ports>;

Ports::Ports() : BLEntity("ports") {}
Ports::~Ports() = default;

const char* Ports::nullImplException::what() const noexcept {
    return "the platform has no implementation of the PON technology";
}

OLTmanager& Ports::getGponImpl() {
    if (call(Operation::getGponImpl)) {
        throw nullImplException();
    }
    return standin::lasting<OLTmanager>();
}

void Ports::applyConfiguration(boost::shared_ptr<Storage::Setting>) {}
void Ports::saveConfiguration(boost::shared_ptr<Storage::Setting>) const {}

bool Ports::start() {
    return true;
}

bool Ports::applyDefaultSettings() {
    return true;
}

bool Ports::stop() {
    return true;
}

void Ports::getDependencies(std::list<std::string>& names) {
    names = {singleton<Interfaces>::instance().entityName()};
}
