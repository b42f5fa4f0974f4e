#pragma once

#include <boost/shared_ptr.hpp>

namespace Storage {

/// A node of the platform's stored configuration. Entities that store nothing never look inside.
class Setting;

/// Something that can be saved in the platform's storage and restored from it.
class [[gnu::visibility("default")]] StorageItem {
public:
    /// Takes over the stored configuration. Called by the manager before `start`.
    virtual void applyConfiguration(boost::shared_ptr<Setting> setting) = 0;

    /// Writes the current configuration into `setting`.
    virtual void saveConfiguration(boost::shared_ptr<Setting> setting) const = 0;

protected:
    StorageItem() = default;
    ~StorageItem() = default;
};

}  // namespace Storage
