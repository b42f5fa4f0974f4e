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

// Everything that platform/include declares, in the fewest words, a line an operation: no features, no
// hardware, the interfaces and refusals that a test asks for.
// clang-format off

namespace minimal {

Minimal& state() {
    static auto& state = *new Minimal;
    return state;
}

void useAll() {
    singleton<BLLManager>::instance();
    singleton<Log>::instance();
    singleton<Interfaces>::instance();
    singleton<zqbridge>::instance();
    singleton<servprofile>::instance();
    singleton<Ports>::instance();
}

}  // namespace minimal

using minimal::state;

// Where the headers declare no instantiation, none is made: the singletons are those of whoever uses them.
#ifdef MINIMAL_IMPLICIT
#define MINIMAL_SINGLETON(T)
#else
#define MINIMAL_SINGLETON(T) template class singleton<T>;
#endif

BLEntity::BLEntity(const std::string& entityName) : entityName_(entityName) {}
BLEntity::~BLEntity() { std::erase(state().entities, this); }

MINIMAL_SINGLETON(BLLManager)
BLLManager::BLLManager() { ++state().made["manager"]; }
BLLManager::~BLLManager() = default;
BLLManager::exclusiveLock_t::exclusiveLock_t() : obtained_(state().lockable) {}
BLLManager::exclusiveLock_t::~exclusiveLock_t() = default;
BLLManager::sharedLock_t::sharedLock_t() : obtained_(true) {}
BLLManager::sharedLock_t::~sharedLock_t() = default;
void BLLManager::registerEntity(BLEntity& entity) { state().entities.push_back(&entity); }
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
    MINIMAL_SINGLETON(Entity)                                                        \
    Entity::Entity() : BLEntity(name) { ++state().made[name]; }                      \
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
int Interfaces::interfaceGetTypeById(Intf intf, interfaceType* type) const {
    const auto found = state().types.find(intf);
    if (found == state().types.end()) { return 1; }
    *type = interfaceType{found->second};
    return 0;
}
int Interfaces::interfaceGetTypePonTechnologyById(Intf, interfaceType*, pon_tech_t*) const { return 1; }
int Interfaces::interfaceParentGet(Intf, Interface&) const { return 1; }
int Interfaces::interfaceGetOltById(Intf intf, unsigned int& olt) const { olt = intf; return 0; }
int Interfaces::interfaceSlotPortIntfGet(Intf, slot_port_s&) const { return 1; }
int Interfaces::interfaceGetOMApiInterfaceById(Intf, zqOMApiInterface_s&) const { return 1; }
int Interfaces::interfacePhyStateGet(Intf, bool&) const { return 1; }
int Interfaces::interfaceAccessSpeedGet(Intf, dslSpeed_t&) const { return 1; }
int Interfaces::interfaceEthPhyCapabilityGet(Intf, int&, int&) const { return 1; }
Interfaces::interfaceEventNotification_t& Interfaces::interfaceEvent() { return theEvent<interfaceEventNotification_t>(); }

MINIMAL_SINGLETON(onuEquipment)
onuEquipment::onuEquipment() = default;
onuEquipment::onuConfigNotification_t& onuEquipment::onuConfigEvent() { return theEvent<onuConfigNotification_t>(); }

bool servprofile::serviceProfileFind(const boost::function<bool(const serviceProfile_t&)>&) const { return false; }

const char* Ports::nullImplException::what() const noexcept { return "no implementation"; }
OLTmanager& Ports::getGponImpl() { static OLTmanager manager; return manager; }
OltPort* OLTmanager::getOltPort(unsigned int const&) { static OltPort port(0); return &port; }
int OltPort::getOMconfig(rpcOltPort&) { return index_ == 0 ? 1 : 2; }  // a field that no one reads is an error
int OltPort::getAvailableBandwith(OltPortAvailableBanwith*) { return 0; }

bool isActive(int) { return false; }
Diagnostics::objIds_t::objIds_t(char const* text, ...) : vector<alarmObjs>{alarmObjs{text, {}}} {}
bool Diagnostics::reportAlarm(alarmAction, Intf const&, Intf const&, boardObj_t, std::vector<alarmObjs> const&) {
    return true;
}

MINIMAL_SINGLETON(Log)
Log::Log() { ++state().made["log"]; }
Log::~Log() = default;
void Log::setMsgLevel(LogImpl::logLevel_t level) { state().log.push_back("level " + std::to_string(level)); }
void Log::write(const char* piece) { state().log.push_back(piece); }
void Log::write(const std::string& piece) { state().log.push_back(piece); }
void Log::write(int piece) { state().log.push_back(std::to_string(piece)); }
void Log::write(unsigned int piece) { state().log.push_back(std::to_string(piece)); }

using Name = std::string;
using Handle = zqOMApiInterface_s;
using Om = onuQosOMApi;
zqOMTable::zqOMTable() = default;
zqOMTable::~zqOMTable() = default;
onuQosOMApi::onuQosOMApi() { state().omApi = this; }
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
int Om::onuQosClearConfig() { return state().clearAnswer; }
void Om::onuQosOMApiDump(std::ostringstream*) {}
void Om::onuQosOMApiDebug(bool) const {}
