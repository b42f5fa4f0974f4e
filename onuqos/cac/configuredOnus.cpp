#include "cac/configuredOnus.h"

#include <algorithm>

void ConfiguredOnus::add(std::uint32_t onu) {
    const std::lock_guard guard(mutex_);
    if (onus_.try_emplace(onu).second) {
        withoutParent_.insert(onu);
    }
}

void ConfiguredOnus::setConfigured(std::uint32_t onu, bool configured) {
    const std::lock_guard guard(mutex_);
    Onu& record = onus_.at(onu);
    unindex(onu, record);
    record.configured = configured;
    index(onu, record);
}

void ConfiguredOnus::clearConfigured() {
    const std::lock_guard guard(mutex_);
    configuredByPort_.clear();
    std::ranges::for_each(onus_, [](auto& entry) { entry.second.configured = false; });
}

void ConfiguredOnus::forgetParent(std::uint32_t intf) {
    const std::lock_guard guard(mutex_);
    const auto found = onus_.find(intf);
    if (found != onus_.end()) {
        unindex(intf, found->second);
        found->second.parent.reset();
        withoutParent_.insert(intf);
    }
}

ConfiguredOnus::Answer ConfiguredOnus::otherOnPort(std::uint32_t port, std::uint32_t except,
                                                   const ParentOf& parentOf) {
    const std::lock_guard guard(mutex_);
    std::optional<std::uint32_t> known;
    if (const auto onPort = configuredByPort_.find(port); onPort != configuredByPort_.end()) {
        const auto other = std::ranges::find_if(onPort->second, [except](auto onu) { return onu != except; });
        if (other != onPort->second.end()) {
            known = *other;
        }
    }

    for (auto next = withoutParent_.begin(); next != withoutParent_.end() && (!known || *next < *known);) {
        const std::uint32_t onu = *next;
        if (onu == except) {
            ++next;
            continue;
        }
        const auto parent = parentOf(onu);
        if (!parent) {
            return {.found = false, .unanswered = onu};
        }
        next = withoutParent_.erase(next);
        Onu& record = onus_.at(onu);
        record.parent = parent;
        index(onu, record);
        if (record.configured && *parent == port) {
            known = onu;
        }
    }
    return {.found = known.has_value(), .unanswered = std::nullopt};
}

void ConfiguredOnus::index(std::uint32_t onu, const Onu& record) {
    if (record.configured && record.parent) {
        configuredByPort_[*record.parent].insert(onu);
    }
}

void ConfiguredOnus::unindex(std::uint32_t onu, const Onu& record) {
    if (record.configured && record.parent) {
        configuredByPort_[*record.parent].erase(onu);
    }
}
