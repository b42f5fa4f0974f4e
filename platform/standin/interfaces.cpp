#include "standin/interfaces.h"

#include <string>

#include "Interfaces.h"
#include "call.h"
#include "onuEquipment.h"
#include "registry.h"
#include "standin/error.h"

namespace standin {
namespace {

/// Answers a look-up of the platform: 0 if the interface is known and `look` says that it gave an answer.
template <typename Look>
int answer(Operation operation, unsigned int interface, Look look) {
    if (const auto fault = call(operation, interface)) {
        return *fault;
    }
    return state<Registry>().with([&](const Registry& registry) {
        const InterfaceRecord* record = registry.find(interface);
        return record != nullptr && look(registry, *record) ? 0 : 1;
    });
}

template <typename Change>
void change(unsigned int interface, Change apply) {
    state<Registry>().with([&](Registry& registry) {
        InterfaceRecord* record = registry.find(interface);
        if (record == nullptr) {
            throw Error("there is no interface " + std::to_string(interface));
        }
        apply(*record);
    });
}

bool typeInto(const InterfaceRecord& record, Interfaces::interfaceType* type) {
    const auto known = record.typeAnswer();
    if (known) {
        *type = static_cast<Interfaces::interfaceType>(*known);
    }
    return known.has_value();
}

}  // namespace

namespace interfaces {

std::vector<ListedInterface> list() {
    return state<Registry>().with([](const Registry& registry) {
        std::vector<ListedInterface> list;
        for (const Interfaces::Interface& interface : registry.list()) {
            list.push_back({.interface = interface.intf,
                            .type = interface.type,
                            .parent = registry.find(interface.intf)->parent});
        }
        return list;
    });
}

void setLinkUp(unsigned int interface, bool up) {
    change(interface, [up](InterfaceRecord& record) { record.up = up; });
}

void overrideType(unsigned int interface, std::optional<int> type) {
    change(interface, [type](InterfaceRecord& record) {
        record.typeOverridden = true;
        record.typeOverride = type;
    });
}

bool raiseEvent(unsigned int interface, int event) {
    return singleton<Interfaces>::instance().interfaceEvent().raise(
        static_cast<int>(interface), static_cast<Interfaces::interfaceEvent_t>(event));
}

bool raiseOnuConfigEvent(unsigned int interface, bool ready, bool other) {
    return singleton<onuEquipment>::instance().onuConfigEvent().raise(interface, ready, other);
}

}  // namespace interfaces
}  // namespace standin

using standin::answer;
using standin::call;
using standin::InterfaceRecord;
using standin::lasting;
using standin::Operation;
using standin::Registry;

template class singleton<Interfaces>;

Interfaces::Interfaces() : BLEntity("interfaces") {}
Interfaces::~Interfaces() = default;

void Interfaces::interfaceListGet(std::vector<Interface>& list) const {
    if (call(Operation::interfaceListGet)) {
        list.clear();
        return;
    }
    list = standin::state<Registry>().with([](const Registry& registry) { return registry.list(); });
}

int Interfaces::interfaceGetTypeById(unsigned int intf, interfaceType* type) const {
    return answer(
        Operation::interfaceGetTypeById, intf,
        [type](const Registry&, const InterfaceRecord& record) { return standin::typeInto(record, type); });
}

int Interfaces::interfaceGetTypePonTechnologyById(unsigned int intf, interfaceType* type,
                                                  pon_tech_t* technology) const {
    return answer(Operation::interfaceGetTypePonTechnologyById, intf,
                  [=](const Registry& registry, const InterfaceRecord& record) {
                      const InterfaceRecord* port = registry.ponPortOf(record);
                      if (port == nullptr || !standin::typeInto(record, type)) {
                          return false;
                      }
                      *technology = static_cast<pon_tech_t>(port->pon->technology);
                      return true;
                  });
}

int Interfaces::interfaceParentGet(unsigned int intf, Interface& parent) const {
    return answer(Operation::interfaceParentGet, intf,
                  [&parent](const Registry& registry, const InterfaceRecord& record) {
                      if (record.type != interfaceTypeOnu) {
                          return false;
                      }
                      const InterfaceRecord* above = registry.find(record.parent);
                      if (above == nullptr) {
                          return false;
                      }
                      parent = {record.parent, static_cast<interfaceType>(above->type)};
                      return true;
                  });
}

int Interfaces::interfaceGetOltById(unsigned int intf, unsigned int& olt) const {
    return answer(Operation::interfaceGetOltById, intf,
                  [&olt](const Registry& registry, const InterfaceRecord& record) {
                      const InterfaceRecord* port = registry.ponPortOf(record);
                      if (port == nullptr) {
                          return false;
                      }
                      olt = port->pon->olt;
                      return true;
                  });
}

int Interfaces::interfaceSlotPortIntfGet(unsigned int intf, slot_port_s& slotPort) const {
    return answer(Operation::interfaceSlotPortIntfGet, intf,
                  [&slotPort](const Registry&, const InterfaceRecord& record) {
                      slotPort = {record.slot, record.port};
                      return true;
                  });
}

int Interfaces::interfaceGetOMApiInterfaceById(unsigned int intf, zqOMApiInterface_s& handle) const {
    return answer(Operation::interfaceGetOMApiInterfaceById, intf,
                  [&handle](const Registry& registry, const InterfaceRecord& record) {
                      if (record.type != interfaceTypeOnu) {
                          handle = {record.slot, record.port, 0};
                          return true;
                      }
                      // The hardware layer numbers ONUs within their PON port.
                      const InterfaceRecord* port = registry.ponPortOf(record);
                      if (port == nullptr) {
                          return false;
                      }
                      handle = {port->slot, port->port, record.port};
                      return true;
                  });
}

int Interfaces::interfacePhyStateGet(unsigned int intf, bool& up) const {
    return answer(Operation::interfacePhyStateGet, intf,
                  [&up](const Registry&, const InterfaceRecord& record) {
                      up = record.up;
                      return true;
                  });
}

int Interfaces::interfaceAccessSpeedGet(unsigned int intf, dslSpeed_t& speed) const {
    return answer(Operation::interfaceAccessSpeedGet, intf,
                  [&speed](const Registry& registry, const InterfaceRecord& record) {
                      const InterfaceRecord* port = registry.ponPortOf(record);
                      if (port == nullptr || !record.up) {
                          return false;
                      }
                      speed = *port->pon->speed;
                      return true;
                  });
}

int Interfaces::interfaceEthPhyCapabilityGet(unsigned int intf, int& upstream, int& downstream) const {
    return answer(Operation::interfaceEthPhyCapabilityGet, intf,
                  [&](const Registry& registry, const InterfaceRecord& record) {
                      const InterfaceRecord* port = registry.ponPortOf(record);
                      if (port == nullptr) {
                          return false;
                      }
                      upstream = port->pon->phyCapability->upstream;
                      downstream = port->pon->phyCapability->downstream;
                      return true;
                  });
}

Interfaces::interfaceEventNotification_t& Interfaces::interfaceEvent() {
    return lasting<interfaceEventNotification_t>();
}

void Interfaces::applyConfiguration(boost::shared_ptr<Storage::Setting>) {}
void Interfaces::saveConfiguration(boost::shared_ptr<Storage::Setting>) const {}

bool Interfaces::start() {
    return true;
}

bool Interfaces::applyDefaultSettings() {
    return true;
}

bool Interfaces::stop() {
    return true;
}

void Interfaces::getDependencies(std::list<std::string>& names) {
    names.clear();
}

template class singleton<onuEquipment>;

onuEquipment::onuEquipment() = default;

onuEquipment::onuConfigNotification_t& onuEquipment::onuConfigEvent() {
    return lasting<onuConfigNotification_t>();
}
