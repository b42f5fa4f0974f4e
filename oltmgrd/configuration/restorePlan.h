#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "oltmgrd/configuration/document.h"

namespace oltmgrd {

template <typename Values>
struct PlannedProfile {
    std::string name;
    Values values;
    std::string reason{};  ///< why it is made; empty for a saved one
    /// There is no room for it beside the others: it is made for a binding, and deleted once that is there.
    bool passes = false;
};

struct PlannedBinding {
    std::size_t flow = 0;   ///< in `RestorePlan::flows`
    std::size_t tcont = 0;  ///< in `RestorePlan::tconts`
    TermPoint termPoint;
};

/// Profiles and bindings that keep the rules of binding, so that they can be created, set and applied.
struct RestorePlan {
    std::vector<PlannedProfile<FlowValues>> flows;  ///< the saved ones first, in their order
    std::vector<PlannedProfile<TContValues>> tconts;
    std::vector<PlannedBinding> bindings;  ///< as in the document
    /// In what the plan is not the document, a line for each difference, with its reason.
    std::vector<std::string> differences;
};

/// Plans how to restore a document. Every binding gets profiles that hold what its own held when it was
/// bound: its own ones where they still do, under their present names, else profiles made for it. Among the
/// bindings of an ONU, T-CONTs that differ have different ids, and a flow profile is bound to one virtual
/// port.
RestorePlan planRestore(const ConfigurationDocument& document);

/// "service 'video' of interface 7".
std::string described(const SavedBinding& binding);

}  // namespace oltmgrd
