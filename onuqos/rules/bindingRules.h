#pragma once

#include <map>
#include <optional>
#include <string>

#include "onuqos/rules/bindingTypes.h"
#include "onuqos/rules/result.h"

/// What is true of the bindings of one ONU.
namespace rules {

using Bindings = std::map<std::string, onuQosServiceIntfInfo>;

/// Whether a binding may be made, or what its removal releases.
struct BindingVerdict {
    Result result = Result::ok;
    const std::string* other = nullptr;  ///< the service whose binding forbids it
    bool accounting = true;              ///< no other binding of the ONU uses the T-CONT profile
    bool platform = true;                ///< no other binding of the ONU is identical
};

/// A virtual port belongs to one pair of profiles, a flow profile to one virtual port, a T-CONT id to one
/// T-CONT profile. `tContIdOf(name)` is the id of a T-CONT profile, or nothing where it is gone.
template <typename TContIdOf>
BindingVerdict checkBinding(const Bindings& bindings, const onuQosServiceIntfInfo& wanted,
                            TContIdOf tContIdOf) {
    const std::optional<std::uint32_t> wantedId = tContIdOf(wanted.tContProfileName);
    BindingVerdict verdict;
    const auto refused = [&verdict](Result result, const std::string& other) {
        verdict.result = result;
        verdict.other = &other;
        return verdict;
    };
    for (const auto& [name, other] : bindings) {
        if (other.virtualPortId == wanted.virtualPortId) {
            if (other != wanted) {
                return refused(Result::duplicateVirtualPortId, name);
            }
            verdict.platform = false;
        } else if (other.onuFlowProfileName == wanted.onuFlowProfileName) {
            return refused(Result::duplicateOnuFlowProfile, name);
        }
        if (other.tContProfileName == wanted.tContProfileName) {
            verdict.accounting = false;
        } else if (wantedId && tContIdOf(other.tContProfileName) == wantedId) {
            return refused(Result::duplicateTContId, name);
        }
    }
    return verdict;
}

/// What goes with the binding of `service`, which is one of `bindings`.
inline BindingVerdict checkRemoval(const Bindings& bindings, const std::string& service) {
    const onuQosServiceIntfInfo& removed = bindings.at(service);
    BindingVerdict verdict;
    for (const auto& [name, other] : bindings) {
        if (name != service) {
            verdict.platform = verdict.platform && other != removed;
            verdict.accounting = verdict.accounting && other.tContProfileName != removed.tContProfileName;
        }
    }
    return verdict;
}

}  // namespace rules
