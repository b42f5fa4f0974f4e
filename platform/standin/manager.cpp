#include "standin/manager.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <list>
#include <map>
#include <sstream>

#include "BLEntity.h"
#include "BLLManager.h"
#include "call.h"
#include "standin/error.h"
#include "state.h"

/// The stand-in stores no configuration: this is the node that entities are given.
class Storage::Setting {};

namespace standin {
namespace {

struct Registered {
    BLEntity* entity = nullptr;
    std::string name;
    EntityState state{};
    std::uint64_t startedAs = 0;  ///< counts up with every start
};

struct EntityTable {
    std::vector<Registered> entities;
    std::uint64_t starts = 0;

    Registered* find(const BLEntity* entity) {
        const auto found = std::ranges::find(entities, entity, &Registered::entity);
        return found != entities.end() ? &*found : nullptr;
    }
};

Guarded<EntityTable>& entityTable() {
    return lasting<Guarded<EntityTable>>();
}

std::vector<Registered> registered() {
    return entityTable().with([](const EntityTable& table) { return table.entities; });
}

/// Notes that `entity` has been driven into `state`.
void note(const BLEntity* entity, EntityState state) {
    entityTable().with([=](EntityTable& table) {
        if (Registered* row = table.find(entity)) {
            row->state = state;
            row->startedAs = state == EntityState::stopped ? 0 : ++table.starts;
        }
    });
}

std::string quoted(const std::string& name) {
    return "\"" + name + "\"";
}

/// Sorts the entities so that each follows those on which it depends.
class DependencySort {
public:
    explicit DependencySort(const std::vector<Registered>& entities) {
        for (const Registered& row : entities) {
            if (!byName_.try_emplace(row.name, Node{row, false}).second) {
                throw Error("two entities are named " + quoted(row.name) + ": rename one of them");
            }
        }
        for (const Registered& row : entities) {
            place(byName_.at(row.name));
        }
    }

    const std::vector<Registered>& order() const { return order_; }

private:
    struct Node {
        Registered row;
        bool placed;
    };

    void place(Node& node) {
        if (node.placed) {
            return;
        }
        const bool inProgress = std::ranges::find(path_, node.row.name) != path_.end();
        path_.push_back(node.row.name);
        if (inProgress) {
            throwCycle();
        }
        std::list<std::string> dependencies;
        node.row.entity->getDependencies(dependencies);
        for (const std::string& name : dependencies) {
            const auto found = byName_.find(name);
            if (found == byName_.end()) {
                throw Error("entity " + quoted(node.row.name) + " depends on " + quoted(name) +
                            ", which is not registered: load the module that provides it");
            }
            place(found->second);
        }
        path_.pop_back();
        node.placed = true;
        order_.push_back(node.row);
    }

    /// The last name of the path stands in it for the second time.
    [[noreturn]] void throwCycle() const {
        std::string text = "entities depend on each other in a circle: ";
        const auto first = std::ranges::find(path_, path_.back());
        for (auto name = first; name != path_.end(); ++name) {
            text += (name == first ? "" : " -> ") + quoted(*name);
        }
        throw Error(text);
    }

    std::map<std::string, Node> byName_;
    std::vector<std::string> path_;
    std::vector<Registered> order_;
};

std::vector<Registered> ordered() {
    return DependencySort(registered()).order();
}

/// Starts an entity; why it did not start, or nothing if it did.
std::string start(BLEntity& entity) {
    try {
        entity.applyConfiguration(boost::make_shared<Storage::Setting>());
        return entity.start() ? "" : "the log says why";
    } catch (const std::exception& exception) {
        return exception.what();
    }
}

}  // namespace

namespace manager {

std::vector<Entity> entities() {
    std::vector<Entity> all;
    for (const Registered& row : registered()) {
        all.push_back({row.name, row.state});
    }
    return all;
}

std::vector<std::string> dependencyOrder() {
    std::vector<std::string> names;
    for (const Registered& row : ordered()) {
        names.push_back(row.name);
    }
    return names;
}

void startAll() {
    for (const Registered& row : ordered()) {
        if (row.state == EntityState::started) {
            continue;
        }
        const std::string problem = start(*row.entity);
        note(row.entity, problem.empty() ? EntityState::started : EntityState::failed);
        if (!problem.empty()) {
            throw Error("entity " + quoted(row.name) + " did not start: " + problem);
        }
    }
}

std::vector<std::string> stopAll() {
    std::vector<Registered> rows = registered();
    std::erase_if(rows, [](const Registered& row) {
        return row.state != EntityState::started && row.state != EntityState::failed;
    });
    std::ranges::sort(rows, std::ranges::greater{}, &Registered::startedAs);
    std::vector<std::string> failed;
    for (const Registered& row : rows) {
        const bool stopped = row.entity->stop();
        note(row.entity, stopped ? EntityState::stopped : EntityState::failed);
        if (!stopped) {
            failed.push_back(row.name);
        }
    }
    return failed;
}

std::vector<std::string> applyDefaultSettings() {
    const BLLManager::exclusiveLock_t lock;
    if (!lock.obtained()) {
        throw Error("nothing was done: the lock was not obtained");
    }
    std::vector<std::string> failed;
    for (const Registered& row : ordered()) {
        if (!row.entity->applyDefaultSettings()) {
            failed.push_back(row.name);
        }
    }
    return failed;
}

bool raiseConfigurationApplyStart() {
    return singleton<BLLManager>::instance().configurationApplyStartEvent().raise();
}

bool raiseConfigurationApplyStop(int reason) {
    return singleton<BLLManager>::instance().configurationApplyStopEvent().raise(reason);
}

std::optional<std::string> sendExternalMessage(const std::string& message, const std::string& argument,
                                               const std::string& sender) {
    std::ostringstream reply;
    if (!singleton<BLLManager>::instance().externalMessageEvent().raise(message, argument, &reply, sender)) {
        return std::nullopt;
    }
    return reply.str();
}

}  // namespace manager
}  // namespace standin

using standin::call;
using standin::EntityTable;
using standin::lasting;
using standin::Operation;

BLEntity::BLEntity(const std::string& entityName) : entityName_(entityName) {}

BLEntity::~BLEntity() {
    standin::entityTable().with([this](EntityTable& table) {
        std::erase_if(table.entities, [this](const auto& row) { return row.entity == this; });
    });
}

template class singleton<BLLManager>;

BLLManager::BLLManager() = default;
BLLManager::~BLLManager() = default;

void BLLManager::registerEntity(BLEntity& entity) {
    if (call(Operation::registerEntity, entity.entityName())) {
        return;
    }
    standin::entityTable().with([&entity](EntityTable& table) {
        if (table.find(&entity) == nullptr) {
            table.entities.push_back({.entity = &entity, .name = entity.entityName()});
        }
    });
}

BLLManager::configurationApplyStart_t& BLLManager::configurationApplyStartEvent() {
    return lasting<configurationApplyStart_t>();
}

BLLManager::configurationApplyStop_t& BLLManager::configurationApplyStopEvent() {
    return lasting<configurationApplyStop_t>();
}

BLLManager::externalMessage_t& BLLManager::externalMessageEvent() {
    return lasting<externalMessage_t>();
}
