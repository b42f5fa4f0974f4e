#pragma once

#include <boost/function.hpp>
#include <list>
#include <string>

#include "BLEntity.h"
#include "singleton.h"

/// The service profiles that operators configure. Each names the profiles that its services use.
class [[gnu::visibility("default")]] servprofile : public BLEntity, public singleton<servprofile> {
public:
    /// What a service is bound to on the ONU; the numbers are the platform's.
    enum onuTermPointType : int { onuTermPointType0 = 0, onuTermPointType1 = 1, onuTermPointType2 = 2 };

    /// Names are NUL-terminated; an empty one names nothing.
    struct serviceProfile_t {
        char name[65];
        char tContProfile[65];
        char onuFlowProfile[65];
    };

    /// Shows the service profiles to `matches` in their stored order until it answers true; returns whether
    /// it did. `matches` must not call this object. May be called with or without the business-logic lock.
    bool serviceProfileFind(const boost::function<bool(const serviceProfile_t&)>& matches) const;

    void applyConfiguration(boost::shared_ptr<Storage::Setting> setting) override;
    void saveConfiguration(boost::shared_ptr<Storage::Setting> setting) const override;
    bool start() override;
    bool applyDefaultSettings() override;
    bool stop() override;
    void getDependencies(std::list<std::string> & names) override;

private:
    friend class singleton<servprofile>;
    servprofile();
    ~servprofile() override;
};

extern template class singleton<servprofile>;
