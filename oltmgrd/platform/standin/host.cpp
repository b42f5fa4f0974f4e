#include "oltmgrd/platform/standin/host.h"

#include <utility>

#include "oltmgrd/files/errors.h"
#include "oltmgrd/platform/standin/commands.h"
#include "oltmgrd/platform/standin/hardware.h"
#include "oltmgrd/platform/standin/inventory.h"
#include "standin/alarms.h"
#include "standin/error.h"
#include "standin/features.h"
#include "standin/hardware.h"
#include "standin/interfaces.h"
#include "standin/lock.h"
#include "standin/log.h"
#include "standin/manager.h"
#include "standin/serviceProfiles.h"
#include "standin/threads.h"

namespace oltmgrd {
namespace {

constexpr int kOnuEquipmentFeature = 5;

/// Does `work`; what the stand-in refuses becomes the host's error.
template <typename Work>
auto carryOut(Work work) {
    try {
        return work();
    } catch (const standin::Error& error) {
        throw HostError(error.what());
    }
}

HostAlarm alarmOf(const standin::Alarm& alarm) {
    return {.reported = alarm.action == Diagnostics::Report,
            .code = alarm.code,
            .interface = alarm.interface,
            .board = alarm.board,
            .text = alarm.text,
            .numbers = alarm.numbers,
            .time = alarm.time};
}

class StandinHost : public Host {
public:
    std::vector<std::string> readInventory(const std::string& file) override {
        InventoryFile read = loadInventory(file);
        file_ = file;
        inventory_ = standinOf(read.inventory);
        return std::move(read.warnings);
    }

    void configure(bool withServiceProfiles) override {
        if (!withServiceProfiles) {
            inventory_.serviceProfiles.clear();
        }
        try {
            standin::configure(inventory_);
        } catch (const standin::Error& error) {
            throw StartError("inventory " + file_ + ": " + error.what(), kBadInput);
        }
        inventory_ = {};
    }

    void setLockDeadline(std::chrono::milliseconds deadline) override {
        standin::lock::setDeadline(deadline);
    }

    void startEntities() override {
        carryOut([] { standin::manager::startAll(); });
    }

    std::vector<std::string> stopEntities() override { return standin::manager::stopAll(); }

    std::vector<HostEntity> entities() const override {
        std::vector<HostEntity> entities;
        for (const standin::Entity& entity : standin::manager::entities()) {
            entities.push_back({.name = entity.name, .state = name(entity.state)});
        }
        return entities;
    }

    std::vector<std::string> applyDefaultSettings() override {
        return carryOut([] { return standin::manager::applyDefaultSettings(); });
    }

    HostInterfaces interfaces() const override {
        HostInterfaces interfaces;
        for (const standin::ListedInterface& interface : standin::interfaces::list()) {
            if (interface.type == Interfaces::interfaceTypeOltPon) {
                interfaces.ports.push_back(interface.interface);
            } else if (interface.type == Interfaces::interfaceTypeOnu) {
                interfaces.onus.push_back({.interface = interface.interface, .port = interface.parent});
            }
        }
        return interfaces;
    }

    bool configurationApplyStart() override { return standin::manager::raiseConfigurationApplyStart(); }
    bool configurationApplyStop() override { return standin::manager::raiseConfigurationApplyStop(); }

    bool interfaceEvent(std::int32_t interface, std::int32_t event) override {
        return standin::interfaces::raiseEvent(static_cast<unsigned int>(interface), event);
    }

    bool onuConfigEvent(std::uint32_t interface, bool ready, bool other) override {
        const auto features = standin::features::list();
        const auto feature = features.find(kOnuEquipmentFeature);
        if (feature == features.end() || !feature->second) {
            throw HostError("the platform has no ONU equipment manager: feature 5 is not active");
        }
        return standin::interfaces::raiseOnuConfigEvent(interface, ready, other);
    }

    void setDistances(std::uint32_t port, std::uint32_t min, std::uint32_t max) override {
        carryOut([&] { standin::ports::setDistances(port, min, max); });
    }

    std::optional<std::string> sendMessage(const std::string& name, const std::string& argument) override {
        return standin::manager::sendExternalMessage(name, argument, "oltmgrd");
    }

    void addServiceProfile(const ServiceProfile& profile) override {
        carryOut([&] {
            standin::serviceProfiles::add({.name = profile.name,
                                           .tContProfile = profile.tcontProfile,
                                           .flowProfile = profile.flowProfile});
        });
    }

    void removeServiceProfile(const std::string& name) override {
        carryOut([&] { standin::serviceProfiles::remove(name); });
    }

    std::vector<ServiceProfile> serviceProfiles() const override {
        std::vector<ServiceProfile> profiles;
        for (standin::ServiceProfile& profile : standin::serviceProfiles::list()) {
            profiles.push_back({.name = std::move(profile.name),
                                .tcontProfile = std::move(profile.tContProfile),
                                .flowProfile = std::move(profile.flowProfile)});
        }
        return profiles;
    }

    void takeLog(std::function<void(int level, std::string_view line)> take) override {
        standin::log::toCallback(
            [to = std::move(take)](const standin::LogLine& line) { to(line.level, line.text); });
    }

    void setLogLevel(int level) override { standin::log::setLevel(level); }

    void onAlarm(std::function<void(const HostAlarm&)> tell) override {
        if (!tell) {
            standin::alarms::onChange(nullptr);
            return;
        }
        standin::alarms::onChange(
            [to = std::move(tell)](const standin::Alarm& alarm) { to(alarmOf(alarm)); });
    }

    std::optional<HardwareView> hardware() const override { return standinHardware(); }

    std::uint64_t tcontProfileSerial(const std::string& name) const override {
        const auto profile = standin::hardware::tContProfile(name);
        return profile ? profile->serial : 0;
    }

    std::uint64_t flowProfileSerial(const std::string& name) const override {
        const auto profile = standin::hardware::flowProfile(name);
        return profile ? profile->serial : 0;
    }

    bool awaitThreadEnd(std::string_view name, std::chrono::milliseconds limit) override {
        return standin::threads::awaitEnd(name, limit);
    }

    void signalThreads(std::string_view name, int signal) override {
        standin::threads::sendSignal(name, signal);
    }

    std::span<const HostCommand> commands() const override { return standinCommands(); }

private:
    std::string file_;
    standin::Inventory inventory_;
};

}  // namespace

std::unique_ptr<Host> standinHost() {
    return std::make_unique<StandinHost>();
}

}  // namespace oltmgrd
