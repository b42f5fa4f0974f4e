#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

enum class EntityState : std::uint8_t { registered, started, failed, stopped };

constexpr std::string_view name(EntityState state) {
    constexpr std::string_view kNames[] = {"registered", "started", "failed", "stopped"};
    return kNames[static_cast<std::size_t>(state)];
}

struct Entity {
    std::string name;
    EntityState state{};

    friend bool operator==(const Entity&, const Entity&) = default;
};

/// Drives the entities and events of `BLLManager`. Only one thread at a time may drive entities; the other
/// operations may be called from any thread. No lock is held while an entity or a handler runs. The caller
/// sees to it that no entity is destroyed while it is driven.
namespace manager {

#pragma GCC visibility push(default)

/// The registered entities, in the order of their registration. The platform's own, "interfaces", "zqbridge",
/// "servprofile" and "ports", register when the library is loaded.
std::vector<Entity> entities();

/// The names of the entities, each after those on which it depends, otherwise in order of registration.
/// Throws `Error` that names the entities of a cycle, an entity and the missing one on which it depends, or a
/// name that two entities bear.
std::vector<std::string> dependencyOrder();

/// Gives every entity that is not started its (empty) stored configuration and starts it, in dependency
/// order. Throws `Error` that names the first entity that does not start; it is then `failed`, the entities
/// before it stay started and those after it untouched.
void startAll();

/// Stops the started entities, and the failed ones since their start is not undone, in the reverse order of
/// their starts. Goes on after a failure; returns the names of the entities that answered false, which are
/// then `failed`.
std::vector<std::string> stopAll();

/// Returns all entities to their factory settings in dependency order, also after a failure; the names of
/// those that answered false. Those of the platform itself keep what the inventory gave them. Holds the
/// exclusive lock meanwhile; throws `Error` when it is not obtained, and then calls no entity.
std::vector<std::string> applyDefaultSettings();

/// Raise the configuration-apply events on the calling thread. False if a handler vetoed it.
bool raiseConfigurationApplyStart();
bool raiseConfigurationApplyStop(int reason = 0);

/// Raises the external-message event on the calling thread; what the handlers replied, together. Nothing if a
/// handler vetoed it.
std::optional<std::string> sendExternalMessage(const std::string& message, const std::string& argument,
                                               const std::string& sender = "standin");

#pragma GCC visibility pop

}  // namespace manager
}  // namespace standin
