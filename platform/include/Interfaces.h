#pragma once

#include <boost/function.hpp>
#include <list>
#include <string>
#include <vector>

#include "BLEntity.h"
#include "Notification.h"
#include "singleton.h"
#include "zqOMApi.h"

/// Two line speeds of an interface, kbit/s.
struct dslSpeed_t {
    unsigned int upstream = 0;
    unsigned int downstream = 0;
};

/// The interface registry. Interfaces are named by an index. Every look-up returns 0 on success and another
/// value when the interface is unknown or the question cannot be answered; outputs are then unspecified.
/// All operations may be called from any thread, with or without the business-logic lock.
class [[gnu::visibility("default")]] Interfaces : public BLEntity, public singleton<Interfaces> {
public:
    enum interfaceType : int {
        interfaceTypeOltPon = 3,  ///< a PON port of the OLT
        interfaceTypeOnu = 4      ///< an ONU behind a PON port, its parent
    };

    enum interfaceEvent_t : int { interfaceEventDown = 3, interfaceEventUp = 4 };

    enum pon_tech_t : int {
        ponTechGpon = 1,  ///< ITU-T G.984
        ponTech10G = 2    ///< ITU-T G.9807.1
    };

    struct Interface {
        unsigned int intf = 0;
        interfaceType type{};
    };

    struct slot_port_s {
        unsigned int slot = 0;
        unsigned int port = 0;
    };

    using interfaceEventNotification_t = Notification::Event<boost::function<bool(int, interfaceEvent_t)>,
                                                             boost::function<void(int, interfaceEvent_t)>>;

    /// Replaces the contents of `list` by all interfaces, in the registry's order.
    void interfaceListGet(std::vector<Interface> & list) const;

    int interfaceGetTypeById(unsigned int intf, interfaceType* type) const;

    int interfaceGetTypePonTechnologyById(unsigned int intf, interfaceType* type, pon_tech_t* technology)
        const;

    /// The interface above `intf`: for an ONU, its PON port.
    int interfaceParentGet(unsigned int intf, Interface& parent) const;

    /// The OLT port number of `intf`, counted from 1.
    int interfaceGetOltById(unsigned int intf, unsigned int& olt) const;

    int interfaceSlotPortIntfGet(unsigned int intf, slot_port_s& slotPort) const;

    /// The handle under which the hardware layer knows `intf`.
    int interfaceGetOMApiInterfaceById(unsigned int intf, zqOMApiInterface_s& handle) const;

    /// Whether the link of `intf` is up.
    int interfacePhyStateGet(unsigned int intf, bool& up) const;

    /// The speeds at which a link that is up runs, kbit/s.
    int interfaceAccessSpeedGet(unsigned int intf, dslSpeed_t& speed) const;

    /// The speeds of which the port is capable, Mbit/s.
    int interfaceEthPhyCapabilityGet(unsigned int intf, int& upstream, int& downstream) const;

    /// Raised when an interface changes its state, with its index and what happened.
    interfaceEventNotification_t& interfaceEvent();

    void applyConfiguration(boost::shared_ptr<Storage::Setting> setting) override;
    void saveConfiguration(boost::shared_ptr<Storage::Setting> setting) const override;
    bool start() override;
    bool applyDefaultSettings() override;
    bool stop() override;
    void getDependencies(std::list<std::string> & names) override;

private:
    friend class singleton<Interfaces>;
    Interfaces();
    ~Interfaces() override;
};

extern template class singleton<Interfaces>;
