#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "standin/interfaces.h"
#include "standin/inventory.h"
#include "state.h"

namespace standin {

/// What is known of one interface.
struct InterfaceRecord {
    int type = 0;
    unsigned int slot = 0;
    unsigned int port = 0;
    bool up = true;
    unsigned int parent = 0;       ///< of an ONU
    std::optional<PonPort> pon{};  ///< of a PON port, with every default filled in
    std::optional<ports::Available> available{};
    bool typeOverridden = false;
    std::optional<int> typeOverride{};

    /// What a look-up of the type answers.
    std::optional<int> typeAnswer() const { return typeOverridden ? typeOverride : type; }
};

/// The interfaces of the platform.
class Registry {
public:
    Registry() = default;

    /// Throws `Error` as `configure` does.
    explicit Registry(const Inventory& inventory);

    /// In ascending order of index.
    const std::vector<Interfaces::Interface>& list() const { return list_; }

    const InterfaceRecord* find(unsigned int interface) const;
    InterfaceRecord* find(unsigned int interface);

    /// The PON port of an interface: itself, or the parent of an ONU. Null if there is none.
    const InterfaceRecord* ponPortOf(const InterfaceRecord& record) const;

    /// The interface of the PON port with this OLT port number less one.
    std::optional<unsigned int> ponPortByIndex(unsigned int index) const;

private:
    void add(unsigned int interface, const InterfaceRecord& record);

    std::unordered_map<unsigned int, InterfaceRecord> records_;
    std::unordered_map<unsigned int, unsigned int> ponPortsByIndex_;
    std::vector<Interfaces::Interface> list_;
};

/// The interface of the PON port above ONU `interface`, for the bandwidth model. Not a platform call.
std::optional<unsigned int> ponInterfaceOf(unsigned int interface);

}  // namespace standin
