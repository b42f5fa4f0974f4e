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
    for (std::optional<std::uint32_t> last;;) {
        const auto onu = nextToAsk(port, except, last);
        if (!onu) {
            return {};
        }
        const std::uint64_t forgotten = onus_.at(*onu).forgotten;

        guard.unlock();
        const auto parent = parentOf(*onu);
        guard.lock();
        if (!parent) {
            return {.found = false, .unanswered = onu};
        }
        const Onu& record = onus_.at(*onu);
        if (record.forgotten == forgotten) {
            setParent(*onu, *parent);
        }
        if (record.configured && *parent == port) {
            return {.found = true, .unanswered = std::nullopt};
        }
        last = onu;
    }
}

std::optional<std::uint32_t> ConfiguredOnus::nextToAsk(std::uint32_t port, std::uint32_t except,
                                                       std::optional<std::uint32_t> last) const {
    std::optional<std::uint32_t> first;
    const auto consider = [&](const std::set<std::uint32_t>& onus) {
        auto next = last ? onus.upper_bound(*last) : onus.begin();
        if (next != onus.end() && *next == except) {
            ++next;
        }
        if (next != onus.end() && (!first || *next < *first)) {
            first = *next;
        }
    };
    consider(withoutParent_);
    if (const auto onPort = configuredByPort_.find(port); onPort != configuredByPort_.end()) {
        consider(onPort->second);
    }
    return first;
}

void ConfiguredOnus::setParent(std::uint32_t onu, std::uint32_t parent) {
    Onu& record = onus_.at(onu);
    unindex(onu, record);
    record.parent = parent;
    index(onu, record);
    withoutParent_.erase(onu);
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
