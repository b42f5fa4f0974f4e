#pragma once

#include <boost/function.hpp>

#include "Notification.h"
#include "singleton.h"

/// The ONU equipment manager. Exists only on platforms with the ONU equipment feature (number 5 of
/// `isActive`); elsewhere nothing may touch the object.
class [[gnu::visibility("default")]] onuEquipment : public singleton<onuEquipment> {
public:
    /// Arguments: ONU interface index, whether the ONU is ready, and a flag of the platform's own.
    using onuConfigNotification_t = Notification::Event<boost::function<bool(unsigned int, bool, bool)>,
                                                        boost::function<void(unsigned int, bool, bool)>>;

    /// Raised when an ONU has been configured or has become (un)ready.
    onuConfigNotification_t& onuConfigEvent();

private:
    friend class singleton<onuEquipment>;
    onuEquipment();
    ~onuEquipment() = default;
};

extern template class singleton<onuEquipment>;
