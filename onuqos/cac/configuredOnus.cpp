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
        ++found->second.forgotten;
        withoutParent_.insert(intf);
    }
}

ConfiguredOnus::Answer ConfiguredOnus::otherOnPort(std::uint32_t port, std::uint32_t except,
                                                   const ParentOf& parentOf) {
    std::unique_lock guard(mutex_);
    for (std::uint32_t from = 0;;) {
        const auto known = configuredOn(port, except);
        auto next = withoutParent_.lower_bound(from);
        if (next != withoutParent_.end() && *next == except) {
            ++next;
        }
        if (next == withoutParent_.end() || (known && *known < *next)) {
            return {.found = known.has_value(), .unanswered = std::nullopt};
        }
        const std::uint32_t onu = *next;
        const std::uint64_t forgotten = onus_.at(onu).forgotten;

        guard.unlock();
        const auto parent = parentOf(onu);
        guard.lock();
        if (!parent) {
            return {.found = false, .unanswered = onu};
        }
        if (Onu& record = onus_.at(onu); record.forgotten == forgotten) {
            unindex(onu, record);
            record.parent = parent;
            index(onu, record);
            withoutParent_.erase(onu);
        }
        from = onu;  // asked again if it was forgotten in the meantime
    }
}

std::optional<std::uint32_t> ConfiguredOnus::configuredOn(std::uint32_t port, std::uint32_t except) const {
    const auto onPort = configuredByPort_.find(port);
    if (onPort == configuredByPort_.end()) {
        return std::nullopt;
    }
    const auto other = std::ranges::find_if(onPort->second, [except](auto onu) { return onu != except; });
    return other == onPort->second.end() ? std::nullopt : std::optional(*other);
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
