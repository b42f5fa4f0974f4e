#pragma once

#include <map>
#include <string>

#include "onuqos/entity/onuQos.h"
#include "onuqos/support/log.h"
#include "onuqos/support/platformObject.h"
#include "servprofile.h"

/// What the two families of profiles have in common: create, delete, rename, change and the read operations.
/// The families differ in what they log, which a `StoreOperation` tells, and in the platform calls they hand
/// in.

/// The texts that an operation writes before the profile's name when it refuses; null refuses silently.
struct StoreOperation {
    const char* name;  ///< as in the log
    const char* emptyName = nullptr;
    const char* badName = nullptr;
    const char* exists = nullptr;
    const char* tableFull = nullptr;
    const char* notFound = nullptr;
    const char* partOfService = nullptr;
    const char* applied = nullptr;
    const char* notConverted = nullptr;
    const char* refused = nullptr;  ///< by the platform
};

namespace profileStore {

using Res = onuQos::onuQosRes;

template <typename Info>
using Table = std::map<std::string, Info>;

inline Res refuse(At at, const char* text, const std::string& profile, Res res) {
    if (text != nullptr) {
        logError(at, text, profile);
    }
    return res;
}

/// `setDefaults(info)` fills the new record, `convert(info, om)` makes the platform's of it, `push(om)` is
/// the platform call.
template <typename Om, typename Info, typename SetDefaults, typename Convert, typename Push>
Res create(const StoreOperation& operation, Table<Info>& table, const std::string& name,
           SetDefaults setDefaults, Convert convert, Push push) {
    const WriteLock lock(operation.name);
    if (!lock) {
        return onuQos::onuQosResError;
    }
    if (name.empty()) {
        return refuse(operation.name, operation.emptyName, name, onuQos::onuQosResError);
    }
    if (name.size() > kProfileNameMax) {
        return refuse(operation.name, operation.badName, name, onuQos::onuQosResBadName);
    }
    if (table.contains(name)) {
        return refuse(operation.name, operation.exists, name, onuQos::onuQosResExists);
    }
    if (table.size() >= kProfileCountMax) {
        return refuse(operation.name, operation.tableFull, name, onuQos::onuQosResTableFull);
    }
    Info info;
    info.name = name;
    setDefaults(info);
    Om om{};
    if (convert(info, om) != onuQos::onuQosResOk) {
        return refuse(operation.name, operation.notConverted, name, onuQos::onuQosResError);
    }

    if (push(om) != 0) {
        return refuse(operation.name, operation.refused, name, onuQos::onuQosResError);
    }

    table.emplace(name, std::move(info));
    return onuQos::onuQosResOk;
}

template <typename Info, typename PartOfService, typename Push>
Res remove(const StoreOperation& operation, Table<Info>& table, const std::string& name,
           PartOfService partOfService, Push push) {
    const WriteLock lock(operation.name);
    if (!lock) {
        return onuQos::onuQosResError;
    }
    if (name.empty()) {
        return refuse(operation.name, operation.emptyName, name, onuQos::onuQosResError);
    }
    const auto found = table.find(name);
    if (found == table.end()) {
        return refuse(operation.name, operation.notFound, name, onuQos::onuQosResNotFound);
    }
    if (partOfService(name)) {
        return refuse(operation.name, operation.partOfService, name, onuQos::onuQosResPartOfService);
    }

    if (push(name) != 0) {
        return refuse(operation.name, operation.refused, name, onuQos::onuQosResError);
    }

    table.erase(found);
    return onuQos::onuQosResOk;
}

/// The new name is tested for nothing but its being free: the platform's answer decides.
template <typename Info, typename PartOfService, typename Push>
Res rename(const StoreOperation& operation, Table<Info>& table, const std::string& oldName,
           const std::string& newName, PartOfService partOfService, Push push) {
    const WriteLock lock(operation.name);
    if (!lock) {
        return onuQos::onuQosResError;
    }
    const auto found = table.find(oldName);
    if (found == table.end()) {
        return refuse(operation.name, operation.notFound, oldName, onuQos::onuQosResNotFound);
    }
    if (table.contains(newName)) {
        return refuse(operation.name, operation.exists, newName, onuQos::onuQosResExists);
    }
    if (partOfService(oldName)) {
        return refuse(operation.name, operation.partOfService, oldName, onuQos::onuQosResPartOfService);
    }

    if (push(oldName, newName) != 0) {
        return refuse(operation.name, operation.refused, oldName, onuQos::onuQosResError);
    }

    auto node = table.extract(found);
    node.key() = newName;
    node.mapped().name = newName;
    table.insert(std::move(node));
    return onuQos::onuQosResOk;
}

/// `applied(name)` tells whether a binding uses the profile; `step(profile)` checks, pushes and writes.
template <typename Info, typename Applied, typename Step>
Res change(const StoreOperation& operation, Table<Info>& table, const std::string& name, Applied applied,
           Step step) {
    const WriteLock lock(operation.name);
    if (!lock) {
        return onuQos::onuQosResError;
    }
    if (name.empty()) {
        return refuse(operation.name, operation.emptyName, name, onuQos::onuQosResError);
    }
    const auto found = table.find(name);
    if (found == table.end()) {
        return refuse(operation.name, operation.notFound, name, onuQos::onuQosResNotFound);
    }
    if (applied(name)) {
        return refuse(operation.name, operation.applied, name, onuQos::onuQosResApplied);
    }
    return step(found->second);
}

template <typename Info>
Res get(const char* operation, const Table<Info>& table, const std::string& name, Info& info) {
    const ReadLock lock(operation);
    if (!lock || name.empty()) {
        return onuQos::onuQosResError;
    }
    const auto found = table.find(name);
    if (found == table.end()) {
        return onuQos::onuQosResNotFound;
    }
    info = found->second;
    return onuQos::onuQosResOk;
}

template <typename Info>
Res exist(const char* operation, const Table<Info>& table, const std::string& name) {
    const ReadLock lock(operation);
    if (!lock || name.empty()) {
        return onuQos::onuQosResError;
    }
    return table.contains(name) ? onuQos::onuQosResOk : onuQos::onuQosResNotFound;
}

template <typename Info>
bool exists(const char* operation, const Table<Info>& table, const std::string& name) {
    const ReadLock lock(operation);
    return lock && table.contains(name);
}

template <typename Info>
Res firstGet(const char* operation, const Table<Info>& table, Info& info) {
    const ReadLock lock(operation);
    if (!lock) {
        return onuQos::onuQosResError;
    }
    if (table.empty()) {
        return onuQos::onuQosResNoMore;
    }
    info = table.begin()->second;
    return onuQos::onuQosResOk;
}

template <typename Info>
Res nextGet(const char* operation, const Table<Info>& table, const std::string& name, Info& info) {
    const ReadLock lock(operation);
    if (!lock || name.empty()) {
        return onuQos::onuQosResError;
    }
    if (table.empty()) {
        return onuQos::onuQosResNoMore;
    }
    const auto found = table.find(name);
    if (found == table.end()) {
        return onuQos::onuQosResNotFound;
    }
    const auto next = std::next(found);
    if (next == table.end()) {
        return onuQos::onuQosResNoMore;
    }
    info = next->second;
    return onuQos::onuQosResOk;
}

/// Whether a service profile names `name` in `field`.
template <typename Info>
bool isPartOfService(const char* operation, const Table<Info>& table, const std::string& name,
                     const char (servprofile::serviceProfile_t::*field)[65]) {
    const ReadLock lock(operation);
    if (!lock || name.empty() || !table.contains(name)) {
        return false;
    }
    return platformObject<servprofile>().serviceProfileFind(
        [&name, field](const servprofile::serviceProfile_t& profile) { return name == profile.*field; });
}

/// Whether the record's own set of applied interfaces holds any.
template <typename Info>
bool hasAppliedIntfs(const char* operation, const Table<Info>& table, const std::string& name,
                     std::set<std::uint32_t> Info::*applied) {
    const ReadLock lock(operation);
    if (!lock) {
        return false;
    }
    const auto found = table.find(name);
    if (found == table.end()) {
        logError(operation, "profile doesn't exist: ", name);
        return false;
    }
    return !(found->second.*applied).empty();
}

template <typename Info>
bool appliedIntfsGet(const char* operation, const Table<Info>& table, const std::string& name,
                     std::set<std::uint32_t> Info::*applied, std::set<std::uint32_t>& intfs) {
    const ReadLock lock(operation);
    if (!lock) {
        return false;
    }
    const auto found = table.find(name);
    if (found == table.end()) {
        return false;
    }
    intfs = found->second.*applied;
    return true;
}

}  // namespace profileStore
