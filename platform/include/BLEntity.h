#pragma once

#include <list>
#include <string>

#include "Storage.h"

/// A business-logic entity: a part of the management software that `BLLManager` starts and stops in
/// dependency order. The manager calls `start` and `stop` on one thread and without a lock, and
/// `applyDefaultSettings` on any thread while it holds the exclusive one.
class [[gnu::visibility("default")]] BLEntity : public Storage::StorageItem {
public:
    /// Brings the entity into service; true on success. A failed start is not undone by the entity.
    virtual bool start() = 0;

    /// Returns the entity to its factory settings; true on success.
    virtual bool applyDefaultSettings() = 0;

    /// Takes the entity out of service; true on success.
    virtual bool stop() = 0;

    /// Replaces the contents of `names` by the names of the entities that must be started before this one.
    virtual void getDependencies(std::list<std::string> & names) = 0;

    /// Takes the entity out of the manager's list, if it is registered there.
    virtual ~BLEntity();

    BLEntity(const BLEntity&) = delete;
    BLEntity& operator=(const BLEntity&) = delete;

    /// The name by which other entities depend on this one; constant for the life of the object.
    const std::string& entityName() const {
        return entityName_;
    }

protected:
    explicit BLEntity(const std::string& entityName);

private:
    std::string entityName_;
};
