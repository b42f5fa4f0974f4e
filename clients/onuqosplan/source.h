#pragma once

#include "clients/onuqosplan/olt.h"
#include "common/commandLine.h"

namespace onuqosplan {

/// What files leave open: what the platform has free.
inline constexpr const char* kCapacityLessRates = "capacity less the rates of distinct T-CONTs";

/// The OLT that its files describe, as a start on them would make it, with the sums that were saved; without
/// a configuration where `configuration` is empty. Throws common::UsageError for a file at fault.
Olt offlineOlt(const std::string& inventory, const std::string& configuration);

/// The OLT that runs. Throws common::NoAnswer.
Olt liveOlt(const std::string& controlPath, double timeoutSeconds, const std::vector<uid_t>& owners);

/// The options that say which OLT is meant.
class Source {
public:
    explicit Source(common::Command app);

    /// Throws as the two above do, and common::UsageError where the options do not go together.
    Olt read() const;

private:
    common::Given control_, timeout_, owner_, inventory_, configuration_;
};

}  // namespace onuqosplan
