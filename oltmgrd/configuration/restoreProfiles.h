#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "oltmgrd/configuration/document.h"
#include "oltmgrd/module/module.h"
#include "oltmgrd/module/results.h"

namespace oltmgrd {

/// A step of restoring was refused by the module. The text says which, and with what result.
class Refused : public std::runtime_error {
public:
    Refused(const std::string& step, Result result);
};

/// Throws `Refused` unless `result` is `onuQosResOk`.
void require(Result result, const std::string& step);

/// A name, and a binding, as they stand in a report.
std::string quoted(const std::string& name);
std::string described(const SavedBinding& binding);

/// The profiles of one family while a configuration is restored. Each is made under a name of its own, its
/// home, and renamed from there: renaming reaches names that creating refuses, and a profile at home is not
/// bound, so that it can still be changed. Behind the saved profiles there is one more, the extra, which
/// takes the part of every profile that was deleted while bound.
///
/// Profiles are told apart by their place in the document. An attribute that the module refuses is added to
/// the lost entries and the profile goes on without it; the operations throw `Refused` for everything else.
class RestoredProfiles {
public:
    virtual ~RestoredProfiles() = default;
    RestoredProfiles(const RestoredProfiles&) = delete;
    RestoredProfiles& operator=(const RestoredProfiles&) = delete;

    std::size_t extra() const { return profiles_.size() - 1; }

    /// Makes the profile, unless it is made already.
    void make(std::size_t place);
    /// Deletes the profile if it is made.
    void remove(std::size_t place);

    /// Adds the profile to the lost entries.
    void lose(std::size_t place, const std::string& reason);
    bool isLost(std::size_t place) const { return profiles_[place].isLost; }

    const std::string& nameOf(std::size_t place) const { return profiles_[place].name; }
    /// "T-CONT profile 'gold'".
    std::string described(std::size_t place) const;

    /// Gives the profile `name`; another profile that bears it goes home.
    void moveTo(std::size_t place, const std::string& name);
    void moveHome(std::size_t place) { moveTo(place, home(place)); }

    /// The profile that bears `name` now.
    std::optional<std::size_t> bearerOf(const std::string& name) const;

protected:
    /// `family` describes it in reports; `prefix` begins the names of the homes and no other name.
    RestoredProfiles(const onuQosClassInterface& module, std::string family, std::vector<std::string> names,
                     std::string prefix, std::vector<std::string>& lost);

    const onuQosClassInterface& module() const { return module_; }

    /// Loses the profile if an attribute of it was refused.
    void attempt(std::size_t place, Result result, const std::string& attribute);

private:
    virtual Result create(const std::string& name) = 0;
    virtual Result erase(const std::string& name) = 0;
    virtual Result rename(const std::string& oldName, const std::string& newName) = 0;
    /// Gives a new profile that is at home what does not depend on its bindings. Not for the extra one.
    virtual void dress(std::size_t place) = 0;

    std::string home(std::size_t place) const { return prefix_ + std::to_string(place); }

    struct Profile {
        std::string savedName;
        std::string name;
        bool isMade = false;
        bool isLost = false;
        Result refusal = onuQos::onuQosResOk;  // of making it
    };

    const onuQosClassInterface& module_;
    std::string family_;
    std::string prefix_;
    std::vector<std::string>& lost_;
    std::vector<Profile> profiles_;
    std::unordered_map<std::string, std::size_t> bearers_;
};

class RestoredTContProfiles : public RestoredProfiles {
public:
    RestoredTContProfiles(const onuQosClassInterface& module, const ConfigurationDocument& document,
                          const std::string& prefix, std::vector<std::string>& lost);

    /// Gives the profile id, type and rates; it goes home for that, unless it has them.
    void shapeTo(std::size_t place, const TContShape& wanted);
    const TContShape& shapeOf(std::size_t place) const { return shapes_[place]; }

private:
    Result create(const std::string& name) override;
    Result erase(const std::string& name) override;
    Result rename(const std::string& oldName, const std::string& newName) override;
    void dress(std::size_t place) override;

    const ConfigurationDocument& document_;
    std::vector<TContShape> shapes_;
};

class RestoredFlowProfiles : public RestoredProfiles {
public:
    RestoredFlowProfiles(const onuQosClassInterface& module, const ConfigurationDocument& document,
                         const std::string& prefix, std::vector<std::string>& lost);

private:
    Result create(const std::string& name) override;
    Result erase(const std::string& name) override;
    Result rename(const std::string& oldName, const std::string& newName) override;
    void dress(std::size_t place) override;
    void setRule(std::size_t place, const SavedFlowProfile& profile);

    const ConfigurationDocument& document_;
};

}  // namespace oltmgrd
