#include "minimalPlatform.h"

#include "BLLManager.h"
#include "Diagnostics.h"
#include "Features.h"
#include "Interfaces.h"
#include "Log.h"
#include "Ports.h"
#include "onuEquipment.h"
#include "onuQosOMApi.h"
#include "servprofile.h"
#include "zqbridge.h"

// Everything that platform/include declares, in the fewest words, a line an operation: no interfaces, no
// features, no hardware.
// clang-format off

std::vector<BLEntity*>& registeredEntities() {
    static auto& entities = *new std::vector<BLEntity*>;
    return entities;
}

BLEntity::BLEntity(const std::string& entityName) : entityName_(entityName) {}
BLEntity::~BLEntity() { std::erase(registeredEntities(), this); }

template class singleton<BLLManager>;
BLLManager::BLLManager() = default;
BLLManager::~BLLManager() = default;
BLLManager::exclusiveLock_t::exclusiveLock_t() : obtained_(true) {}
BLLManager::exclusiveLock_t::~exclusiveLock_t() = default;
BLLManager::sharedLock_t::sharedLock_t() : obtained_(true) {}
BLLManager::sharedLock_t::~sharedLock_t() = default;
void BLLManager::registerEntity(BLEntity& entity) { registeredEntities().push_back(&entity); }
void BLLManager::registerThread(const std::string&) {}

template <typename Event>
Event& theEvent() {
    static Event event;
    return event;
}

using Manager = BLLManager;
Manager::configurationApplyStart_t& Manager::configurationApplyStartEvent() { return theEvent<configurationApplyStart_t>(); }
Manager::configurationApplyStop_t& Manager::configurationApplyStopEvent() { return theEvent<configurationApplyStop_t>(); }
Manager::externalMessage_t& Manager::externalMessageEvent() { return theEvent<externalMessage_t>(); }

// The four entities differ by name only.
#define MINIMAL_ENTITY(Entity, name)                                                 \
    template class singleton<Entity>;                                                \
    Entity::Entity() : BLEntity(name) {}                                             \
    Entity::~Entity() = default;                                                     \
    void Entity::applyConfiguration(boost::shared_ptr<Storage::Setting>) {}          \
    void Entity::saveConfiguration(boost::shared_ptr<Storage::Setting>) const {}     \
    bool Entity::start() { return true; }                                            \
    bool Entity::applyDefaultSettings() { return true; }                             \
    bool Entity::stop() { return true; }                                             \
    void Entity::getDependencies(std::list<std::string>& names) { names.clear(); }

MINIMAL_ENTITY(Interfaces, "minimal interfaces")
MINIMAL_ENTITY(zqbridge, "minimal bridge")
MINIMAL_ENTITY(servprofile, "minimal profiles")
MINIMAL_ENTITY(Ports, "minimal ports")

using Intf = unsigned int;
void Interfaces::interfaceListGet(std::vector<Interface>& list) const { list.clear(); }
int Interfaces::interfaceGetTypeById(Intf, interfaceType*) const { return 1; }
int Interfaces::interfaceGetTypePonTechnologyById(Intf, interfaceType*, pon_tech_t*) const { return 1; }
int Interfaces::interfaceParentGet(Intf, Interface&) const { return 1; }
int Interfaces::interfaceGetOltById(Intf, unsigned int&) const { return 1; }
int Interfaces::interfaceSlotPortIntfGet(Intf, slot_port_s&) const { return 1; }
int Interfaces::interfaceGetOMApiInterfaceById(Intf, zqOMApiInterface_s&) const { return 1; }
int Interfaces::interfacePhyStateGet(Intf, bool&) const { return 1; }
int Interfaces::interfaceAccessSpeedGet(Intf, dslSpeed_t&) const { return 1; }
int Interfaces::interfaceEthPhyCapabilityGet(Intf, int&, int&) const { return 1; }
Interfaces::interfaceEventNotification_t& Interfaces::interfaceEvent() { return theEvent<interfaceEventNotification_t>(); }

template class singleton<onuEquipment>;
onuEquipment::onuEquipment() = default;
onuEquipment::onuConfigNotification_t& onuEquipment::onuConfigEvent() { return theEvent<onuConfigNotification_t>(); }

bool servprofile::serviceProfileFind(const boost::function<bool(const serviceProfile_t&)>&) const { return false; }

const char* Ports::nullImplException::what() const noexcept { return "no implementation"; }
OLTmanager& Ports::getGponImpl() { throw nullImplException(); }
OltPort* OLTmanager::getOltPort(unsigned int const&) { return nullptr; }
int OltPort::getOMconfig(rpcOltPort&) { return index_ == 0 ? 1 : 2; }  // a field that no one reads is an error
int OltPort::getAvailableBandwith(OltPortAvailableBanwith*) { return 1; }

bool isActive(int) { return false; }
Diagnostics::objIds_t::objIds_t(char const* text, ...) : vector<alarmObjs>{alarmObjs{text, {}}} {}
bool Diagnostics::reportAlarm(alarmAction, Intf const&, Intf const&, boardObj_t, std::vector<alarmObjs> const&) {
    return true;
}

template class singleton<Log>;
Log::Log() = default;
Log::~Log() = default;
void Log::setMsgLevel(LogImpl::logLevel_t) {}
void Log::write(const char*) {}
void Log::write(const std::string&) {}
void Log::write(int) {}
void Log::write(unsigned int) {}

using Name = std::string;
using Handle = zqOMApiInterface_s;
using Om = onuQosOMApi;
zqOMTable::zqOMTable() = default;
zqOMTable::~zqOMTable() = default;
onuQosOMApi::onuQosOMApi() = default;
onuQosOMApi::~onuQosOMApi() = default;
int Om::onuTContProfileCreate(const onuQosOMApiTContProfileInfo&) { return 0; }
int Om::onuTContProfileDelete(const Name&) { return 0; }
int Om::tContProfileRename(const Name&, const Name&) { return 0; }
int Om::onuTContProfileParmsSet(const Name&, const onuQosOMApiTContProfileInfo&, onuQosOMApiTContParm) { return 0; }
int Om::onuFlowProfileCreate(const onuQosOMApiFlowProfileInfo&) { return 0; }
int Om::onuFlowProfileDelete(const Name&) { return 0; }
int Om::flowProfileRename(const Name&, const Name&) { return 0; }
int Om::onuFlowProfileRuleSet(const Name&, const onuQosOMApiFlowProfileRule&, onuQosOMApiFlowProfileRuleType) { return 0; }
int Om::onuFlowProfileActionSet(const Name&, const onuQosOMApiFlowProfileAction&,
                                onuQosOMApiFlowProfileActionType) { return 0; }
int Om::onuQosServiceApply(Handle, Intf, const Name&, const Name&, const Name&, unsigned int, unsigned int,
                           onuQosOMApiUniType, unsigned int) { return 0; }
int Om::onuQosServiceRemove(Handle, Intf, const Name&, unsigned int) { return 0; }
int Om::flowIdToServiceName(Intf, unsigned int, Name&) const { return 1; }
int Om::addOnuIntf(Intf) { return 0; }
void Om::onuStateHandler(Handle, Intf, bool) {}
void Om::onuReadyHandler(Handle, Intf, bool) {}
int Om::onuQosClearConfig() { return 0; }
void Om::onuQosOMApiDump(std::ostringstream*) {}
void Om::onuQosOMApiDebug(bool) const {}
