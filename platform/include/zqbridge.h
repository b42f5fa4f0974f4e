#pragma once

#include <list>
#include <string>

#include "BLEntity.h"
#include "singleton.h"

/// The bridge entity. Other entities only order their start after it.
class [[gnu::visibility("default")]] zqbridge : public BLEntity, public singleton<zqbridge> {
public:
    void applyConfiguration(boost::shared_ptr<Storage::Setting> setting) override;
    void saveConfiguration(boost::shared_ptr<Storage::Setting> setting) const override;
    bool start() override;
    bool applyDefaultSettings() override;
    bool stop() override;
    void getDependencies(std::list<std::string> & names) override;

private:
    friend class singleton<zqbridge>;
    zqbridge();
    ~zqbridge() override;
};

extern template class singleton<zqbridge>;
