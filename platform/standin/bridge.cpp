#include "Interfaces.h"
#include "zqbridge.h"

template class singleton<zqbridge>;

zqbridge::zqbridge() : BLEntity("zqbridge") {}
zqbridge::~zqbridge() = default;

void zqbridge::applyConfiguration(boost::shared_ptr<Storage::Setting>) {}
void zqbridge::saveConfiguration(boost::shared_ptr<Storage::Setting>) const {}

bool zqbridge::start() {
    return true;
}

bool zqbridge::applyDefaultSettings() {
    return true;
}

bool zqbridge::stop() {
    return true;
}

void zqbridge::getDependencies(std::list<std::string>& names) {
    names = {singleton<Interfaces>::instance().entityName()};
}
