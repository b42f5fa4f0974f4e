#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "servprofile.h"
#include "standin/inventory.h"

namespace standin {

/// The service profiles in stored order. Those who look at them take `profiles`, which never changes, and
/// look without a lock; a change puts another vector in its place.
class ServiceProfileList {
public:
    using Profiles = std::vector<servprofile::serviceProfile_t>;

    ServiceProfileList() = default;

    /// Throw `Error` as `serviceProfiles::add` and `serviceProfiles::remove` do.
    explicit ServiceProfileList(const std::vector<ServiceProfile>& given);
    void add(const ServiceProfile& profile);
    void remove(std::string_view name);

    const std::shared_ptr<const Profiles>& profiles() const { return profiles_; }

private:
    std::shared_ptr<const Profiles> profiles_ = std::make_shared<const Profiles>();
};

}  // namespace standin
